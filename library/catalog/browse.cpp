#include "catalog/browse.h"

#include "text/numbers.h"
#include <algorithm>
#include <limits>

namespace vexo::catalog {
namespace {

using index::Group;
using index::GroupKind;
using index::Range;

index::MediaIndex &Index() { return index::ProcessIndex(); }

/// A folder counts only with the library's own as its beginning: those above are nobody's.
bool IsInLibrary(const Group &folder, const Library &library) {
  const std::string top = library.folder.value_or("");
  return !top.empty() && (folder.name == top || folder.name.starts_with(top + '/'));
}

std::optional<Group> FindIn(const Library &library, GroupKind kind, int32_t id) {
  std::optional<Group> group = Index().FindGroup(library.owner, kind, id);
  const bool hidden = group && kind == GroupKind::kFolder && !IsInLibrary(*group, library);
  return hidden ? std::nullopt : std::move(group);
}

/// The id that a text is, or that its name has in a library; 0: none.
int32_t IdMeant(const Library &library, GroupKind kind, std::string_view text) {
  if (const std::optional<int64_t> id = text::ParseInteger(text)) {
    return *id > 0 && *id <= std::numeric_limits<int32_t>::max() ? static_cast<int32_t>(*id) : 0;
  }
  const bool has_name = kind != GroupKind::kAlbum && kind != GroupKind::kFolder;
  return has_name ? Index().GroupNamed(library.owner, kind, std::string(text)) : 0;
}

index::SongList SongsIn(const Group &group) {
  index::SongList list;
  list.owner = group.owner;
  (group.kind == GroupKind::kAlbum ? list.groups.album : list.groups.folder) = group.id;
  return list;
}

/// What is left of a range behind the first `count` items.
Range Behind(const Range &range, int64_t count) {
  const int64_t before = std::clamp<int64_t>(count - range.offset, 0, range.limit);
  return {std::max<int64_t>(0, range.offset - count), range.limit - before};
}

} // namespace

std::optional<index::CatalogSong> FindCatalogSong(const accounts::Account &user, int32_t id) {
  for (const Library &library : LibrariesOf(user)) {
    if (std::optional<index::CatalogSong> song = Index().FindSong(library.owner, id)) {
      return song;
    }
  }
  return std::nullopt;
}

std::optional<Group> FindGroup(const accounts::Account &user, GroupKind kind, int32_t id) {
  for (const Library &library : LibrariesOf(user)) {
    if (std::optional<Group> group = FindIn(library, kind, id)) {
      return group;
    }
  }
  return std::nullopt;
}

std::optional<Group> GroupMeant(const accounts::Account &user, GroupKind kind,
                                std::string_view text, std::optional<int> owner) {
  for (const Library &library : LibrariesOf(user)) {
    const int32_t id = IdMeant(library, kind, text);
    if (id == 0 || owner.value_or(library.owner) != library.owner) {
      continue;
    }
    if (std::optional<Group> group = FindIn(library, kind, id)) {
      return group;
    }
  }
  return std::nullopt;
}

index::Page<index::CatalogSong> AlbumSongs(const Group &album, const Range &range) {
  index::SongList list = SongsIn(album);
  list.sort = {index::Field::kDisc, index::Field::kTrack, index::Field::kPath};
  return Index().ListSongs(list, range);
}

std::optional<Group> TopFolder(const Library &library) {
  const int32_t id =
      library.folder ? Index().GroupNamed(library.owner, GroupKind::kFolder, *library.folder) : 0;
  return id == 0 ? std::nullopt : FindIn(library, GroupKind::kFolder, id);
}

std::string PathInLibrary(const Group &folder, const Library &library) {
  const std::size_t top = library.folder.value_or("").size();
  return folder.name.size() <= top ? std::string() : folder.name.substr(top + 1);
}

std::vector<Group> ParentsOf(const Group &folder, const Library &library) {
  std::vector<Group> parents;
  std::optional<Group> parent = FindIn(library, GroupKind::kFolder, folder.parent_id);
  while (parent) {
    const int32_t above = parent->parent_id;
    parents.push_back(*std::move(parent));
    parent = FindIn(library, GroupKind::kFolder, above);
  }
  std::reverse(parents.begin(), parents.end());
  return parents;
}

Library LibraryOf(const accounts::Account &user, int owner) {
  for (Library &library : LibrariesOf(user)) {
    if (library.owner == owner) {
      return std::move(library);
    }
  }
  return {};
}

FolderContent ReadFolder(const Group &folder, const Range &range) {
  index::GroupList children;
  children.owner = folder.owner;
  children.kind = GroupKind::kFolder;
  children.parent_id = folder.id;
  children.sort = {index::GroupField::kName};
  index::Page<Group> folders = Index().ListGroups(children, range);
  index::SongList list = SongsIn(folder);
  list.sort = {index::Field::kPath};
  index::Page<index::CatalogSong> songs = Index().ListSongs(list, Behind(range, folders.total));
  return {folders.total + songs.total, std::move(folders.items), std::move(songs.items)};
}

LibraryCounts CountLibrary(const Library &library) {
  LibraryCounts counts;
  index::GroupList groups;
  groups.owner = library.owner;
  groups.sort = {index::GroupField::kName};
  counts.albums = Index().ListGroups(groups, {}).total;
  groups.kind = GroupKind::kArtist;
  counts.artists = Index().ListGroups(groups, {}).total;
  if (const std::optional<Group> top = TopFolder(library)) {
    counts.songs = top->songs;
    counts.duration_ms = top->duration_ms;
    counts.size_bytes = top->size_bytes;
  }
  return counts;
}

} // namespace vexo::catalog
