#pragma once
// The songs of a playlist file: what the file and the index know of each.

#include "index/media_index.h"
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace vexo::playlists {

/// What a playlist file itself tells of a song. Texts are UTF-8.
struct Entry {
  std::string path, artist, title;
  float duration_seconds = 0;
};

/// A part of a list: from position `offset` on, `limit` at most (0: all).
struct Range {
  std::size_t offset = 0, limit = 0;

  /// Throws std::invalid_argument for negative numbers.
  static Range Of(int offset, int limit);
};

/// The entries of the bytes of the playlist file at `path`. Throws as PlaylistContent does.
std::vector<Entry> ReadEntries(std::string_view bytes, const std::string &path, Range range = {});

/// Entries, and what the index knows of the files they name.
class EntrySongs {
public:
  /// Asks the index about all paths at once. An index that fails knows nothing, and says so in the
  /// system log: the list itself is in the file.
  explicit EntrySongs(std::vector<Entry> entries);

  [[nodiscard]] std::size_t size() const { return entries_.size(); }
  [[nodiscard]] const Entry &entry(std::size_t position) const { return entries_[position]; }
  /// Null: the index has no song at the entry's path.
  [[nodiscard]] const index::Song *song(std::size_t position) const;

private:
  std::vector<Entry> entries_;
  std::vector<index::Song> songs_; ///< by path
};

} // namespace vexo::playlists
