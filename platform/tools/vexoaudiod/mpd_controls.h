#pragma once
// What a player does, and telling it to do something else.

#include "vexoaudiod/mpd_connection.h"
#include "vexoaudiod/queue_entry.h"
#include "vexoaudiod/record.h"
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace vexo::audiod {

struct PlayerStatus {
  const char *state = "stop";   ///< "play", "pause" or "stop"
  std::vector<QueueEntry> song; ///< the current one; none without one
  int position = -1;            ///< of the current song in the queue; -1 without one
  unsigned queue_length = 0;
  unsigned elapsed_milliseconds = 0, duration_milliseconds = 0;
  int volume_percent = -1; ///< -1: it has none that can be set
  bool repeat = false, random = false;
};

/// Tells the player something, and gives its status then: both in one conversation. Throws
/// MpdError, also for what the player cannot do, as seeking while it stands still.
PlayerStatus ControlMpd(MpdConnection &mpd, const ControlPlayer &command);

struct LoadResult {
  std::size_t added = 0;
  std::size_t refused = 0; ///< those that MPD does not know, or has no room for
};

/// Puts songs into the queue. A song that MPD cannot play is passed over. Songs that take the place
/// of the queue play from the one at `begin` on, or from the next one that MPD can play. Where
/// songs play in random order, those that come next do so before all others. `songs` are paths or
/// addresses. Throws MpdError when MPD fails.
LoadResult LoadIntoMpd(MpdConnection &mpd, const std::vector<std::string> &songs, Place place,
                       std::size_t begin = 0);

} // namespace vexo::audiod
