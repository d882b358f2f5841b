#pragma once
// What differs between a library's folder and its songs in the index.

#include "index/media_index.h"
#include "playlistctl/scan/library_walk.h"
#include <cstdint>
#include <map>
#include <string>
#include <tuple>
#include <vector>

namespace vexo::tools {

/// A file to read, and the song in the index that it is; 0: it is not there yet.
struct FileToRead {
  FoundFile file;
  int32_t id = 0;
};

struct SongChanges {
  std::vector<FileToRead> to_read;
  std::vector<index::SongFile> gone;
  std::size_t unchanged = 0;
};

/// Compares two lists that are sorted by path. A song below a path that could not be read is not
/// gone.
SongChanges CompareSongs(const Walk &walk, const std::vector<index::SongFile> &songs);

/// Finds the song that a new file was before it moved: same size and same audio properties, its old
/// path gone. Where several are, the one with the same file name is taken, or else the same time.
class MovedSongs {
public:
  explicit MovedSongs(std::vector<index::Song> gone);
  /// The id of the song, which is not given again; 0 when there is none.
  int32_t Take(const index::Song &song);
  /// The ids of those that have not been taken.
  [[nodiscard]] std::vector<int32_t> Left() const;

private:
  using Key = std::tuple<uint64_t, double, uint32_t, uint32_t, uint32_t>;
  static Key KeyOf(const index::Song &song);
  std::multimap<Key, index::Song> songs_;
};

} // namespace vexo::tools
