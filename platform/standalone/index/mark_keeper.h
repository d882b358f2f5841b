#pragma once
// Marks while the songs that have them come and go.

#include "index/database.h"
#include "index/media_index.h"

namespace vexo::index {

/// What both tables of marks have of one.
#define VEXO_MARK_COLUMNS "rating, play_count, time_starred, time_played"
/// Behind ON CONFLICT: puts the new mark into the place of the old one.
#define VEXO_REPLACE_MARK                                                                          \
  "DO UPDATE SET rating = excluded.rating, play_count = excluded.play_count, "                     \
  "time_starred = excluded.time_starred, time_played = excluded.time_played"

/// Lives inside a transaction.
class MarkKeeper {
public:
  explicit MarkKeeper(Database &database);
  /// Before a song is removed: its marks are kept for its path.
  void Lose(const Song &song);
  /// After a song was added: it gets the marks that are kept for its path.
  void Find(const Song &song);

private:
  Statement keep_, drop_, take_, forget_;
  bool any_marks_, any_lost_; ///< else there is nothing to do for any song
};

} // namespace vexo::index
