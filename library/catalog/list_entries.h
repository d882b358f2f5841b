#pragma once
// The entries of lists, and what each stands for.

#include "accounts/accounts.h"
#include "catalog/playlists.h"
#include "index/media_index.h"
#include "playlists/entry_paths.h"
#include "playlists/playlist_content.h"
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace vexo::catalog {

/// Whether it is an address that says nothing of a file.
bool IsStream(std::string_view address);

/// An entry of a list, as its file tells it; texts are UTF-8.
struct ListEntry {
  std::size_t position = 0;
  std::string text; ///< the path or address as it stands there
  /// The path that it stands for (playlists/entry_paths.h), also where its text is the address of a
  /// file; else a stream's address.
  std::string path;
  std::string artist, title;
  double duration_seconds = 0; ///< 0: not told
  bool is_stream = false;
};

/// A list that was read.
class List {
public:
  /// `bytes` are those of the playlist file at `path`. Throws playlists::UnreadableError.
  List(std::string bytes, const std::string &path);

  [[nodiscard]] std::size_t size() { return content_.size(); }
  /// The entries [offset, offset + limit), as far as there are any.
  std::vector<ListEntry> Entries(std::size_t offset, std::size_t limit);
  /// Whether a file that the entry may mean is there, in the libraries of the user.
  bool NamesFile(const ListEntry &entry);

private:
  std::string bytes_;
  playlists::PlaylistContent content_;
  playlists::EntryPaths paths_;
};

/// The bytes of a list; nothing when its file is missing. Throws as playlists::ReadPlaylist().
std::optional<std::string> ReadList(const Playlist &playlist);

/// Songs by their path: those that the user may see. Of two at one path, the shared one.
class SongsAtPaths {
public:
  SongsAtPaths(const accounts::Account &user, const std::vector<std::string> &paths);
  /// Of the paths of entries that are no streams.
  SongsAtPaths(const accounts::Account &user, const std::vector<ListEntry> &entries);
  /// Null: there is none.
  [[nodiscard]] const index::Song *Find(const std::string &path) const;

private:
  std::unordered_map<std::string, index::Song> songs_;
};

} // namespace vexo::catalog
