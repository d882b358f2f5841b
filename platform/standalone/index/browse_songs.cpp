// Songs to page through.

#include "index/ids.h"
#include "index/lists.h"
#include "index/orders.h"
#include "index/rows.h"
#include "index/sort_keys.h"
#include "index/sql_index.h"
#include "index/texts.h"
#include "index/words.h"

#include <algorithm>
#include <unordered_map>
#include <utility>

namespace vexo::index {
namespace {

/// Calls `visit` for those of the songs that are there, in the order of the ids.
template <typename Visit> void ForEachSong(Database &database, const IdSet &ids, Visit visit) {
  database.ForEachKey(
      {VEXO_SONG_COLUMNS ", " VEXO_SONG_GROUP_COLUMNS, "songs WHERE songs.id = column1"},
      InOrder(ids), [&](const Statement &row) { visit(ReadCatalogSong(row)); });
}

IdSet SongsOfOwner(Database &database, int owner) {
  Statement songs(database, "SELECT id FROM songs WHERE owner = ?1 ORDER BY id");
  return ReadIds(songs.Bind(1, int64_t{owner}));
}

/// Those of all other owners, but no more than `most`.
IdSet SongsOfOthers(Database &database, int owner, int64_t most) {
  Statement songs(database, "SELECT id FROM songs WHERE owner < ?1 UNION ALL "
                            "SELECT id FROM songs WHERE owner > ?1 LIMIT ?2");
  return ToSet(ReadIds(songs.Bind(1, int64_t{owner}).Bind(2, most)));
}

/// The ids that are songs of the owner: with a look at the owner's or at all others', whichever are
/// fewer. Most collections have one owner.
IdSet OfOwner(Database &database, int owner, IdSet ids) {
  const int64_t own = CountEntries(database, ListNumber(owner, kSongsByTitle.number));
  const IdSet others = SongsOfOthers(database, owner, own);
  if (static_cast<int64_t>(others.size()) == own) {
    return Intersection({std::move(ids), SongsOfOwner(database, owner)});
  }
  const IdBits bits(others);
  std::erase_if(ids, [&](int32_t id) { return bits.Has(id); });
  return ids;
}

/// Finds the songs that a list asks for.
class SongChooser {
public:
  SongChooser(Database &database, const SongList &list) : database_(database), list_(list) {}

  /// The ids of those that may be, ascending; nothing: all songs of the owner.
  std::optional<IdSet> Choose() {
    ChooseByGroups();
    ChooseByFolder();
    ChooseByYear();
    ChooseByWords();
    if (sets_.empty() && !list_.type.empty()) {
      sets_.push_back(SongsOfOwner(database_, list_.owner));
    }
    if (sets_.empty()) {
      return std::nullopt;
    }
    return Intersection(std::move(sets_));
  }

  /// Those of the songs that are the owner's, and of the type.
  IdSet Wanted(IdSet ids) {
    IdSet of_owner = OfOwner(database_, list_.owner, std::move(ids));
    return list_.type.empty() ? of_owner : OfType(of_owner);
  }

private:
  void ChooseByGroups() {
    const SongGroups &groups = list_.groups;
    for (const int32_t group :
         {groups.album, groups.artist, groups.genre, groups.composer, groups.folder}) {
      if (group != 0) {
        sets_.push_back(Members().Of(group, Membership::kSongs));
      }
    }
    if (groups.album_artist != 0) {
      sets_.push_back(Members().Of(groups.album_artist, Membership::kAlbumArtistSongs));
    }
  }

  /// By the paths of the songs: what folders list are the songs that lie in them themselves.
  void ChooseByFolder() {
    if (list_.below == 0) {
      return;
    }
    Statement folder(database_, "SELECT name FROM song_groups WHERE id = ?1 AND kind = ?2");
    folder.Bind(1, int64_t{list_.below}).Bind(2, static_cast<int64_t>(GroupKind::kFolder));
    std::string first = folder.Step() ? folder.Text(0) : "";
    if (!first.ends_with('/')) {
      first += '/';
    }
    std::string end = first;
    ++end.back();
    Statement songs(database_, "SELECT id FROM songs WHERE " +
                                   database_.dialect().path_between("?1", "?2", "?3"));
    songs.Bind(1, first).Bind(2, end).Bind(3, int64_t{list_.owner});
    sets_.push_back(ToSet(ReadIds(songs)));
  }

  void ChooseByYear() {
    if (list_.year_from || list_.year_to) {
      const int64_t first = std::max(1, list_.year_from.value_or(1));
      const int64_t last = list_.year_to.value_or(INT32_MAX);
      const int64_t list = ListNumber(list_.owner, kSongsByYear.number);
      sets_.push_back(IdsBetween(database_, list, YearKey(first), YearKey(last + 1)));
    }
  }

  /// In the title, or in what groups of songs are named.
  void ChooseByWords() {
    const std::vector<std::string> words = FoldedWords(list_.words);
    std::vector<IdSet> with_title = database_.texts().SongsWithWords(words);
    for (std::size_t i = 0; i < words.size(); ++i) {
      sets_.push_back(WithWord(words[i], std::move(with_title[i])));
    }
  }

  /// Also those that are in `ids` already.
  IdSet WithWord(const std::string &word, IdSet ids) {
    database_.ForEachKey(
        {"id", "entries WHERE list = column1"},
        MemberListsOf(database_.texts().GroupsWithWord(word, false)),
        [&](const Statement &row) { ids.push_back(static_cast<int32_t>(row.Int64(0))); });
    return ToSet(std::move(ids));
  }

  /// The lists of songs of those groups that are albums and artists of the owner.
  std::vector<int64_t> MemberListsOf(const IdSet &groups) {
    std::vector<int64_t> lists;
    const auto add = [&](const Statement &row) {
      const auto group = static_cast<int32_t>(row.Int64(0));
      const auto kind = static_cast<GroupKind>(row.Int64(1));
      if (kind == GroupKind::kAlbum || kind == GroupKind::kArtist) {
        lists.push_back(MemberList(group, Membership::kSongs));
      }
      if (kind == GroupKind::kArtist) {
        lists.push_back(MemberList(group, Membership::kAlbumArtistSongs));
      }
    };
    database_.ForEachKey(
        {"id, kind", "song_groups WHERE id = column1 AND +owner = ?1", list_.owner},
        InOrder(groups), add);
    return lists;
  }

  MemberReader &Members() { return members_ ? *members_ : members_.emplace(database_); }

  IdSet OfType(const IdSet &ids) {
    IdSet of_type;
    database_.ForEachKey({"id, type", "songs WHERE id = column1"}, InOrder(ids),
                         [&](const Statement &row) {
                           if (row.View(1) == list_.type) {
                             of_type.push_back(static_cast<int32_t>(row.Int64(0)));
                           }
                         });
    return of_type;
  }

  Database &database_;
  const SongList &list_;
  std::vector<IdSet> sets_;
  std::optional<MemberReader> members_; ///< most lists need none
};

const SongOrder *ServingOrder(const SongList &list) {
  const auto *const order =
      std::find_if(kSongOrders.begin(), kSongOrders.end(),
                   [&](const SongOrder &kept) { return kept.Serves(list.sort); });
  return list.sort.empty() || order == kSongOrders.end() ? nullptr : order;
}

/// A stretch of the chosen songs, by going through a kept order of all.
IdSet PartOfKeptOrder(Database &database, const SongList &list, int order, const IdSet &chosen,
                      const Range &range) {
  const IdBits bits(chosen);
  IdSet part;
  int64_t position = 0;
  WalkList(database, ListNumber(list.owner, order), list.ascending, [&](int32_t id) {
    if (bits.Has(id) && position++ >= range.offset) {
      part.push_back(id);
    }
    return static_cast<int64_t>(part.size()) < range.limit;
  });
  return part;
}

/// A stretch of the chosen songs, by sorting them.
IdSet PartBySorting(Database &database, const SongList &list, const IdSet &chosen,
                    const Range &range) {
  std::vector<KeyedId> keyed;
  keyed.reserve(chosen.size());
  ForEachSong(database, chosen, [&](const CatalogSong &song) {
    keyed.emplace_back(SongSortKey(song.song, song.groups, list.sort), song.song.id);
  });
  return SortedPart(std::move(keyed), list.ascending, range);
}

IdSet PartOfChosen(Database &database, const SongList &list, const IdSet &chosen,
                   const Range &range) {
  // To sort a song costs about so many times what a step through a kept order costs.
  constexpr int64_t kSortToStep = 16;
  if (list.sort.empty() || range.limit <= 0) {
    return Part(chosen, list.ascending, range);
  }
  const SongOrder *order = ServingOrder(list);
  const auto size = static_cast<int64_t>(chosen.size());
  if (order != nullptr &&
      size * kSortToStep > CountEntries(database, ListNumber(list.owner, order->number))) {
    return PartOfKeptOrder(database, list, order->number, chosen, range);
  }
  return PartBySorting(database, list, chosen, range);
}

std::vector<CatalogSong> ReadCatalogSongs(Database &database, const IdSet &ids) {
  std::vector<CatalogSong> songs;
  songs.reserve(ids.size());
  ForEachSong(database, ids, [&](CatalogSong song) { songs.push_back(std::move(song)); });
  return songs;
}

/// A page of a few songs that may be wanted: each is read once.
Page<CatalogSong> PageOfFew(Database &database, const SongList &list, const IdSet &chosen,
                            const Range &range) {
  std::vector<KeyedId> keyed;
  std::unordered_map<int32_t, CatalogSong> by_id;
  for (CatalogSong &song : ReadCatalogSongs(database, chosen)) {
    if (song.song.owner == list.owner && (list.type.empty() || song.song.type == list.type)) {
      keyed.emplace_back(SongSortKey(song.song, song.groups, list.sort), song.song.id);
      by_id.emplace(song.song.id, std::move(song));
    }
  }
  Page<CatalogSong> page;
  page.total = static_cast<int64_t>(keyed.size());
  for (const int32_t id : SortedPart(std::move(keyed), list.ascending, range)) {
    page.items.push_back(std::move(by_id.at(id)));
  }
  return page;
}

/// A page of all songs of the owner.
Page<CatalogSong> PageOfAll(Database &database, const SongList &list, const Range &range) {
  if (const SongOrder *order = ServingOrder(list)) {
    const Page<int32_t> ids =
        ReadList(database, ListNumber(list.owner, order->number), list.ascending, range);
    return {ids.total, ReadCatalogSongs(database, ids.items)};
  }
  const IdSet ids = SongsOfOwner(database, list.owner);
  return {static_cast<int64_t>(ids.size()),
          ReadCatalogSongs(database, PartOfChosen(database, list, ids, range))};
}

Page<CatalogSong> PageOf(Database &database, const SongList &list, const Range &range) {
  constexpr std::size_t kFew = 1000;
  SongChooser chooser(database, list);
  std::optional<IdSet> chosen = chooser.Choose();
  if (!chosen) {
    return PageOfAll(database, list, range);
  }
  if (chosen->size() <= kFew) {
    return PageOfFew(database, list, *chosen, range);
  }
  const IdSet ids = chooser.Wanted(*std::move(chosen));
  return {static_cast<int64_t>(ids.size()),
          ReadCatalogSongs(database, PartOfChosen(database, list, ids, range))};
}

} // namespace

Page<CatalogSong> SqlIndex::ListSongs(const SongList &list, const Range &range) {
  Page<CatalogSong> page;
  database_.ReadAtOnce([&] { page = PageOf(database_, list, range); });
  return page;
}

std::optional<CatalogSong> SqlIndex::FindSong(int owner, int32_t id) {
  std::vector<CatalogSong> songs = ReadCatalogSongs(database_, {id});
  if (songs.empty() || songs.front().song.owner != owner) {
    return std::nullopt;
  }
  return std::move(songs.front());
}

int64_t SqlIndex::Revision() { return database_.Number("SELECT revision FROM catalog"); }

} // namespace vexo::index
