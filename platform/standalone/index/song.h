#pragma once
#include <cstdint>
#include <string>

namespace vexo::index {

struct Song {
  int32_t id = 0;
  int owner = 0;
  std::string path; ///< absolute, with the library's folder as its link or account names it
  std::string title, artist, album, album_artist, genre, composer, comment;
  std::string type; ///< the format, as its usual file extension: "mp3", "flac", ...
  int32_t track = 0, disc = 0, year = 0;
  double duration_seconds = 0;
  uint32_t bitrate = 0, sample_rate = 0, channels = 0; ///< bit/s, Hz, count
  uint64_t size_bytes = 0;
  int rating = 0, play_count = 0;
  bool compilation = false;
  int64_t time_added = 0, time_modified = 0, time_changed = 0; ///< seconds since 1970
};

} // namespace vexo::index
