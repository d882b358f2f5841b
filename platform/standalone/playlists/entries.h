#pragma once
// The songs of a playlist file as records: what the file and the index know of each.

#include "index/records.h"
#include "vexo/media_info.h"
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
struct Stretch {
  std::size_t offset = 0, limit = 0;

  /// Throws std::invalid_argument for negative numbers.
  static Stretch Of(int offset, int limit);
};

/// The entries of the bytes of the playlist file at `path`. Throws as PlaylistContent does.
std::vector<Entry> ReadEntries(std::string_view bytes, const std::string &path,
                               Stretch stretch = {});

/// Fills records from entries. What the index knows of a path goes before what the file says.
class EntryRecords {
public:
  /// Asks the index about all paths at once. An index that fails knows nothing, and says so in the
  /// system log: the list itself is in the file.
  explicit EntryRecords(std::vector<Entry> entries);

  [[nodiscard]] std::size_t size() const { return entries_.size(); }
  /// Fills a record that is all zero from the entry at `position`. A path that is too long for it
  /// stays empty, as a cut one would name another file.
  void Fill(__tag_VEXO_MEDIA_INFO &record, std::size_t position) const;

  /// All of them as a list.
  [[nodiscard]] index::SongList ToList() const;

private:
  std::vector<Entry> entries_;
  std::vector<index::Song> songs_; ///< in the order of their paths
};

} // namespace vexo::playlists
