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
enum class Control {
  kStatus,
  kPlay,
  kResume,
  kPause,
  kStop,
  kNext,
  kPrevious,
  kSeek,
  kVolume,
  kRepeat,
  kRandom,
  kRemove,
  kMove
};

/// Tells a player something; the answer is its status then.
struct ControlPlayer {
  int player;
  Control control;
  /// kPlay, kRemove, kMove: a position; kSeek: milliseconds; kVolume: percent; kRepeat, kRandom: 0
  /// for no.
  unsigned value;
  unsigned second; ///< kRemove: how many; kMove: the position then
};

/// Where songs go: in the place of the queue, behind it, or behind the song that plays.
enum class Place { kReplace, kAppend, kNext };

/// Puts songs into a player's queue; the answer is how many went there. Their paths and addresses,
/// a line each, are the content of a sealed memory file that comes with the record
/// (memfd_create(2), SCM_RIGHTS).
struct LoadSongs {
  int player;
  Place place;
  unsigned begin; ///< kReplace: the position of the song that plays then
};

/// What is no command of this daemon, and why.
struct Refusal {
  std::string reason;
};

using Command = std::variant<Refusal, SelectPlayer, GetQueue, ControlPlayer, LoadSongs>;

Command ParseRecord(std::string_view record);

} // namespace vexo::audiod
