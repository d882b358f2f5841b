#include "index/song_mark.h"

namespace vexo::index {

Mark Changed(Mark mark, const MarkChange &change) {
  if (change.star && *change.star != (mark.time_starred != 0)) {
    mark.time_starred = *change.star ? change.now : 0;
  }
  mark.rating = change.rating.value_or(mark.rating);
  if (change.played) {
    ++mark.play_count;
    mark.time_played = change.now;
  }
  return mark;
}

} // namespace vexo::index
