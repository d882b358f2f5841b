#pragma once
// What a user thinks of a song, and how often it was played to the end for them.

#include <cstdint>
#include <optional>

namespace vexo::index {

struct Mark {
  int rating = 0;           ///< 1 to 5; 0: none
  int64_t play_count = 0;   ///< how often it was played
  int64_t time_starred = 0; ///< since when it has a star, seconds since 1970; 0: it has none
  int64_t time_played = 0;  ///< the last time; 0: never

  friend bool operator==(const Mark &, const Mark &) = default;
};

struct SongMark {
  int32_t song = 0;
  Mark mark;

  friend bool operator==(const SongMark &, const SongMark &) = default;
};

/// What becomes of a mark; what is not there stays as it is.
struct MarkChange {
  std::optional<bool> star{};
  std::optional<int> rating{};
  bool played = false; ///< once more
  int64_t now = 0;     ///< seconds since 1970
};

/// The mark after a change. A star that is given again keeps its time.
Mark Changed(Mark mark, const MarkChange &change);

} // namespace vexo::index
