#include "index/groups.h"
#include "index/orders.h"
#include "index/sort_keys.h"

#include <algorithm>
#include <tuple>

namespace vexo::index {

Group ReadGroup(const Statement &row) {
  Group group;
  int column = 0;
  row.Read(column++, group.id);
  row.Read(column++, group.owner);
  group.kind = static_cast<GroupKind>(row.Int64(column++));
  group.name = row.Text(column++);
  for (int64_t *number : {&group.songs, &group.duration_ms, &group.size_bytes, &group.albums}) {
    *number = row.Int64(column++);
  }
  row.Read(column++, group.parent_id);
  row.Read(column++, group.artist_id);
  group.artist = row.Text(column++);
  row.Read(column++, group.compilation);
  for (int32_t *number : {&group.discs, &group.year_from, &group.year_to}) {
    row.Read(column++, *number);
  }
  row.Read(column++, group.time_added);
  row.Read(column++, group.cover_song);
  return group;
}

bool HasWords(GroupKind kind) { return kind != GroupKind::kYear && kind != GroupKind::kFolder; }

namespace {

constexpr const char *kRead = "SELECT " VEXO_GROUP_COLUMNS ", g.uses FROM " VEXO_GROUP_TABLES;
constexpr int kUsesColumn = 17;

/// So many songs at most tell what an album is; who has an album of a hundred thousand songs has
/// untagged ones, and each batch of a scan would look at all of them.
constexpr const char *kAlbumSongs =
    "SELECT songs.id, album_artist_id, compilation, year, time_added, disc, track, path "
    "FROM entries JOIN songs ON songs.id = entries.id WHERE list = ?1 AND key = ?2 "
    "ORDER BY entries.id LIMIT 2000";

} // namespace

GroupWriter::GroupWriter(Database &database, ListWriter &lists, TextWriter &texts)
    : lists_(lists), texts_(texts),
      find_(database, std::string(kRead) +
                          " WHERE g.owner = ?1 AND g.kind = ?2 "
                          "AND " +
                          database.dialect().Finds("g.identity", "?3")),
      read_(database, std::string(kRead) + " WHERE g.id = ?1"),
      make_(database, "INSERT INTO song_groups(owner, kind, identity, name, parent_id) "
                      "VALUES(?1, ?2, ?3, ?4, ?5)"),
      write_(database, "UPDATE song_groups SET name = ?2, uses = ?3, songs = ?4, duration_ms = ?5, "
                       "size = ?6, albums = ?7, artist_id = ?8, compilation = ?9, discs = ?10, "
                       "year_from = ?11, year_to = ?12, time_added = ?13, cover_song = ?14 "
                       "WHERE id = ?1"),
      remove_(database, "DELETE FROM song_groups WHERE id = ?1"),
      name_(database, "SELECT name FROM song_groups WHERE id = ?1"),
      album_songs_(database, kAlbumSongs),
      read_link_(database, "SELECT songs FROM group_albums WHERE group_id = ?1 AND album_id = ?2"),
      write_link_(database, "INSERT INTO group_albums(group_id, album_id, songs) "
                            "VALUES(?1, ?2, ?3) ON CONFLICT(group_id, album_id) "
                            "DO UPDATE SET songs = ?3"),
      remove_link_(database, "DELETE FROM group_albums WHERE group_id = ?1 AND album_id = ?2"),
      first_member_(database, "SELECT id FROM entries WHERE list = ?1 AND key = ?2 LIMIT 1"),
      first_below_(database, "SELECT id FROM songs WHERE " +
                                 database.dialect().path_between("?1", "?2", "?3") +
                                 " ORDER BY path LIMIT 1") {}

int32_t GroupWriter::Known(int owner, const GroupIdentity &identity) {
  if (identity.identity.empty()) {
    return 0;
  }
  const auto known = ids_.find(KeyOf(owner, identity));
  if (known != ids_.end()) {
    return known->second;
  }
  std::optional<Change> found = Find(owner, identity);
  return found ? Keep(KeyOf(owner, identity), std::move(*found)) : 0;
}

int32_t GroupWriter::Resolve(int owner, const GroupIdentity &identity, int32_t parent_id) {
  if (identity.identity.empty()) {
    return 0;
  }
  int32_t id = Known(owner, identity);
  if (id == 0) {
    id = Keep(KeyOf(owner, identity), Make(owner, identity, parent_id));
  }
  changes_.at(id).name = identity.name;
  return id;
}

std::string GroupWriter::KeyOf(int owner, const GroupIdentity &identity) {
  return std::to_string(owner) + ' ' + std::to_string(static_cast<int>(identity.kind)) +
         identity.identity;
}

int32_t GroupWriter::Keep(std::string key, Change change) {
  const int32_t id = change.old.id;
  changes_.emplace(id, std::move(change));
  ids_.emplace(std::move(key), id);
  return id;
}

std::optional<GroupWriter::Change> GroupWriter::Find(int owner, const GroupIdentity &identity) {
  std::optional<Change> change;
  find_.Bind(1, int64_t{owner}).Bind(2, static_cast<int64_t>(identity.kind));
  if (find_.BindBytes(3, identity.identity).Step()) {
    change.emplace();
    *change = ReadChange(find_);
  }
  find_.Reset();
  return change;
}

GroupWriter::Change GroupWriter::ReadChange(const Statement &row) {
  Change change;
  change.old = ReadGroup(row);
  change.old_uses = row.Int64(kUsesColumn);
  change.name = change.old.name;
  change.cover_song = change.old.cover_song;
  return change;
}

GroupWriter::Change GroupWriter::Make(int owner, const GroupIdentity &identity, int32_t parent_id) {
  make_.Bind(1, int64_t{owner}).Bind(2, static_cast<int64_t>(identity.kind));
  make_.BindBytes(3, identity.identity).Bind(4, identity.name).Bind(5, int64_t{parent_id});
  Change change;
  change.old.id = make_.Insert();
  change.old.owner = owner;
  change.old.kind = identity.kind;
  change.old.name = change.name = identity.name;
  change.old.parent_id = parent_id;
  return change;
}

int32_t GroupWriter::ResolveFolder(int owner, const std::string &path) {
  const std::string above = FolderOf(path);
  const int32_t parent = above.empty() ? 0 : ResolveFolder(owner, above);
  return Resolve(owner, FolderGroup(path), parent);
}

GroupWriter::Change &GroupWriter::Get(int32_t id) {
  const auto known = changes_.find(id);
  if (known != changes_.end()) {
    return known->second;
  }
  if (!read_.Bind(1, int64_t{id}).Step()) {
    throw IndexError("a song is in the group " + std::to_string(id) + ", which is not there");
  }
  Change change = ReadChange(read_);
  read_.Reset();
  return changes_.emplace(id, std::move(change)).first->second;
}

void GroupWriter::Count(int32_t id, const Share &share) {
  if (id == 0) {
    return;
  }
  Change &change = Get(id);
  if (share.uses > 0 && change.cover_song == 0) {
    change.cover_song = share.song;
  } else if (share.uses < 0 && change.cover_song == share.song) {
    change.cover_song = 0;
  }
  Share &sum = change.share;
  sum.uses += share.uses;
  sum.songs += share.songs;
  sum.duration_ms += share.duration_ms;
  sum.size_bytes += share.size_bytes;
}

void GroupWriter::CountFolders(int32_t folder, const Share &share) {
  for (; folder != 0; folder = Get(folder).old.parent_id) {
    Count(folder, share);
  }
}

void GroupWriter::Link(int32_t group, int32_t album, int64_t songs) {
  if (group != 0 && album != 0) {
    links_[{group, album}] += songs;
  }
}

void GroupWriter::FlushLinks() {
  for (const auto &[link, songs] : links_) {
    const auto [group, album] = link;
    read_link_.Bind(1, int64_t{group}).Bind(2, int64_t{album});
    const int64_t before = read_link_.Step() ? read_link_.Int64(0) : 0;
    read_link_.Reset();
    const int64_t now = before + songs;
    if (now > 0 && now != before) {
      write_link_.Bind(1, int64_t{group}).Bind(2, int64_t{album}).Bind(3, now).Run();
    } else if (now <= 0) {
      remove_link_.Bind(1, int64_t{group}).Bind(2, int64_t{album}).Run();
    }
    Get(group).albums += (now > 0 ? 1 : 0) - (before > 0 ? 1 : 0);
  }
}

void GroupWriter::Flush() {
  FlushLinks();
  // Albums before the artists that they name.
  for (const bool albums : {true, false}) {
    for (const auto &[id, change] : changes_) {
      if ((change.old.kind == GroupKind::kAlbum) == albums) {
        Write(change);
      }
    }
  }
  changes_.clear();
  ids_.clear();
  links_.clear();
}

void GroupWriter::Write(const Change &change) {
  const int64_t uses = change.old_uses + change.share.uses;
  Group now = change.old;
  now.name = change.name;
  now.songs += change.share.songs;
  now.duration_ms += change.share.duration_ms;
  now.size_bytes += change.share.size_bytes;
  now.albums += change.albums;
  if (now.kind == GroupKind::kAlbum && uses > 0) {
    DescribeAlbum(now);
  } else if (uses > 0) {
    now.cover_song = change.cover_song != 0 ? change.cover_song : FindCover(now);
  }
  List(change.old, change.old_uses > 0, now, uses > 0);
  if (uses <= 0) {
    remove_.Bind(1, int64_t{now.id}).Run();
  } else if (uses != change.old_uses || now != change.old) {
    WriteRow(now, uses);
  }
}

void GroupWriter::WriteRow(const Group &group, int64_t uses) {
  write_.Bind(1, int64_t{group.id}).Bind(2, group.name);
  int parameter = 3;
  for (const int64_t number :
       {uses, group.songs, group.duration_ms, group.size_bytes, group.albums,
        int64_t{group.artist_id}, int64_t{group.compilation}, int64_t{group.discs},
        int64_t{group.year_from}, int64_t{group.year_to}, group.time_added,
        int64_t{group.cover_song}}) {
    write_.Bind(parameter++, number);
  }
  write_.Run();
}

std::string GroupWriter::NameOf(int32_t id) {
  const auto known = changes_.find(id);
  if (id == 0 || known != changes_.end()) {
    return id == 0 ? std::string() : known->second.name;
  }
  std::string name;
  if (name_.Bind(1, int64_t{id}).Step()) {
    name = name_.Text(0);
  }
  name_.Reset();
  return name;
}

/// Any song of the group; of a folder, the first one below it.
int32_t GroupWriter::FindCover(const Group &group) {
  int32_t song = 0;
  const auto read = [&](Statement &statement) {
    if (song == 0 && statement.Step()) {
      song = static_cast<int32_t>(statement.Int64(0));
    }
    statement.Reset();
  };
  if (group.kind == GroupKind::kFolder) {
    const std::string begin = group.name == "/" ? "/" : group.name + '/';
    const std::string end = begin.substr(0, begin.size() - 1) + static_cast<char>('/' + 1);
    read(first_below_.Bind(1, begin).Bind(2, end).Bind(3, int64_t{group.owner}));
    return song;
  }
  for (const Membership membership : {Membership::kSongs, Membership::kAlbumArtistSongs}) {
    read(first_member_.Bind(1, MemberList(group.id, membership)).BindBytes(2, ""));
  }
  return song;
}

/// What an album's songs say it is.
void GroupWriter::DescribeAlbum(Group &album) {
  std::optional<int32_t> artist;
  std::tuple<int64_t, int64_t, int64_t> cover;
  album.compilation = false;
  album.discs = album.year_from = album.year_to = album.cover_song = 0;
  album_songs_.Bind(1, MemberList(album.id, Membership::kSongs)).BindBytes(2, "");
  while (album_songs_.Step()) {
    const auto song_artist = static_cast<int32_t>(album_songs_.Int64(1));
    album.compilation |= album_songs_.Int64(2) != 0 || artist.value_or(song_artist) != song_artist;
    artist = artist.value_or(song_artist) == song_artist ? song_artist : 0;
    if (const auto year = static_cast<int32_t>(album_songs_.Int64(3)); year > 0) {
      album.year_from = album.year_from == 0 ? year : std::min(album.year_from, year);
      album.year_to = std::max(album.year_to, year);
    }
    const int64_t added = album_songs_.Int64(4);
    album.time_added = album.cover_song == 0 ? added : std::min(album.time_added, added);
    const int32_t disc = DiscOf(static_cast<int32_t>(album_songs_.Int64(5)), album_songs_.Text(7));
    album.discs = std::max(album.discs, disc);
    const std::tuple place(int64_t{disc}, album_songs_.Int64(6), album_songs_.Int64(0));
    if (album.cover_song == 0 || place < cover) {
      cover = place;
      album.cover_song = static_cast<int32_t>(std::get<2>(place));
    }
  }
  album_songs_.Reset();
  album.artist_id = artist.value_or(0);
  album.artist = NameOf(album.artist_id);
}

/// Brings the kept orders and the words of a group up to date.
void GroupWriter::List(const Group &old, bool was_listed, const Group &now, bool is_listed) {
  for (const GroupOrder &order : OrdersOf(now.kind)) {
    const int64_t list = ListNumber(now.owner, order.number);
    if (was_listed) {
      lists_.Remove(list, GroupSortKey(old, order.fields()), old.id);
    }
    if (is_listed) {
      lists_.Add(list, GroupSortKey(now, order.fields()), now.id);
    }
  }
  lists_.Member(was_listed ? old.parent_id : 0, Membership::kChildren, old.id, false);
  lists_.Member(is_listed ? now.parent_id : 0, Membership::kChildren, now.id, true);
  lists_.Member(was_listed ? old.artist_id : 0, Membership::kAlbums, old.id, false);
  lists_.Member(is_listed ? now.artist_id : 0, Membership::kAlbums, now.id, true);
  if (HasWords(now.kind)) {
    ListWords(old, was_listed, now, is_listed);
  }
}

void GroupWriter::ListWords(const Group &old, bool was_listed, const Group &now, bool is_listed) {
  if (was_listed == is_listed && old.name == now.name && old.artist == now.artist) {
    return;
  }
  if (was_listed) {
    texts_.RemoveGroup(old.id, old.name, old.artist);
  }
  if (is_listed) {
    texts_.AddGroup(now.id, now.name, now.artist);
  }
}

} // namespace vexo::index
