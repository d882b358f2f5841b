#pragma once
#include <cstdint>
#include <string>

namespace vexo::audiod {

/// One entry of a player's queue. Empty and zero mean "not known".
struct QueueEntry {
  std::string uri; ///< as the player names it
  std::string res; ///< the full path of the file, or the stream's address
  std::string title, artist, album, genre;
  int track = 0, disc = 0, year = 0;
  unsigned duration_seconds = 0;
  unsigned sample_rate = 0, channels = 0, bitrate = 0; ///< Hz, count, bit/s
  int32_t song_id = 0;                                 ///< in the media index
  uint64_t size_bytes = 0;
};

} // namespace vexo::audiod
