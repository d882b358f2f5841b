#pragma once
// What a user finds when going through the libraries. Groups of other users' libraries do not
// exist.

#include "accounts/accounts.h"
#include "catalog/libraries.h"
#include "index/media_index.h"
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vexo::catalog {

std::optional<index::CatalogSong> FindCatalogSong(const accounts::Account &user, int32_t id);

/// The group of that kind and id in one of the libraries that the user sees. Of a folder, only
/// those that are the library's folder or lie in it.
std::optional<index::Group> FindGroup(const accounts::Account &user, index::GroupKind kind,
                                      int32_t id);

/// The group that a text means, its id or (but for albums and folders) its name in any letter case,
/// among those that the user sees; with `owner` only in that library.
std::optional<index::Group> GroupMeant(const accounts::Account &user, index::GroupKind kind,
                                       std::string_view text, std::optional<int> owner);

/// An album's songs, by disc and track.
index::Page<index::CatalogSong> AlbumSongs(const index::Group &album, const index::Range &range);

/// The folder that all of a library's songs lie in; nothing when there are none.
std::optional<index::Group> TopFolder(const Library &library);

/// Where a folder lies in the library, without slashes at the ends; empty for the library's own.
std::string PathInLibrary(const index::Group &folder, const Library &library);

/// The folders that a folder of the library lies in, the library's own first.
std::vector<index::Group> ParentsOf(const index::Group &folder, const Library &library);

/// The user's library that a group is of.
Library LibraryOf(const accounts::Account &user, int owner);

/// A stretch of what is in a folder: first the folders by name, then the songs by file name.
struct FolderContent {
  int64_t total = 0;
  std::vector<index::Group> folders;
  std::vector<index::CatalogSong> songs;
};
FolderContent ReadFolder(const index::Group &folder, const index::Range &range);

struct LibraryCounts {
  int64_t songs = 0, albums = 0, artists = 0, duration_ms = 0, size_bytes = 0;
};
LibraryCounts CountLibrary(const Library &library);

} // namespace vexo::catalog
