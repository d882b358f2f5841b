#pragma once
// What the media index knows of the songs of a queue.

#include "index/media_index.h"
#include "vexoaudiod/mpd_connection.h"
#include "vexoaudiod/queue_entry.h"
#include <chrono>
#include <memory>
#include <vector>

namespace vexo::audiod {

/// Looks songs up in the index when there is one; a queue is as good without it. One that fails is
/// left alone for some seconds: players are waited for meanwhile. Used by one thread.
class SongIds {
public:
  /// Gives the entries that are in the index their song's id, and what MPD does not know of them:
  /// one query. `player` tells the folder that their names are relative to.
  void Complete(std::vector<QueueEntry> &entries, const MpdConnection &player);

private:
  std::unique_ptr<index::MediaIndex> index_;
  std::chrono::steady_clock::time_point ask_again_; ///< not before
};

} // namespace vexo::audiod
