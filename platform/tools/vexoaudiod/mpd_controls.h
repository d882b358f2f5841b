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
PlayerStatus ControlMpd(MpdConnection &mpd, Control control, unsigned value);

struct LoadResult {
  std::size_t added = 0;
  std::size_t refused = 0; ///< those that MPD does not know, or has no room for
};

/// Puts songs into the queue, in the place of what is there (and plays them) or behind it. A song
/// that MPD cannot play is passed over. `songs` are paths or addresses. Throws MpdError when MPD
/// fails.
LoadResult LoadIntoMpd(MpdConnection &mpd, const std::vector<std::string> &songs, bool replaces);

} // namespace vexo::audiod
