#pragma once
// What the records of the control socket say: see system/player_commands.h.

#include <optional>
#include <string>
#include <string_view>
#include <variant>

namespace vexo::audiod {

/// From now on the process that asks means this player; -1 is the one on USB.
struct SelectPlayer {
  int player;
};

/// Entries of a player's queue.
struct GetQueue {
  std::optional<int> player; ///< nothing: the selected one
  unsigned offset;
  unsigned limit;
};

/// What a player can be told.
enum class Control { kStatus, kPlay, kResume, kPause, kStop, kNext, kPrevious, kSeek, kVolume };

/// Tells a player something; the answer is its status then.
struct ControlPlayer {
  int player;
  Control control;
  unsigned value; ///< kPlay: a position; kSeek: milliseconds; kVolume: percent
};

/// Puts songs into a player's queue; the answer is its status then. Their paths and addresses, a
/// line each, are the content of a sealed memory file that comes with the record (memfd_create(2),
/// SCM_RIGHTS).
struct LoadSongs {
  int player;
  bool replaces; ///< the queue, and plays; else they are appended
};

/// What is no command of this daemon, and why.
struct Refusal {
  std::string reason;
};

using Command = std::variant<Refusal, SelectPlayer, GetQueue, ControlPlayer, LoadSongs>;

Command ParseRecord(std::string_view record);

} // namespace vexo::audiod
