#pragma once
// What the player daemon and those who ask it have in common. Players are the sections [player N]
// and [player usb] of the configuration.
//
// The commands of the player daemon's control socket (kPlayerSocket): records of a fixed size, a
// 32-bit code in the machine's byte order and an argument text that ends with a NUL. A client sends
// one and reads a JSON object, shorter than kPlayerReplyLimit, in one piece.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace vexo::system {

inline constexpr std::string_view kPlayerSections = "player ";
inline constexpr int kUsbPlayer = -1;

/// The number of the player that a section, which begins with kPlayerSections, is of; nothing when
/// it is no player's.
std::optional<int> PlayerNumber(std::string_view section);

inline constexpr std::size_t kPlayerRecordSize = 8196;
/// In bytes. What is longer the kernel would hand over in several pieces.
inline constexpr std::size_t kPlayerReplyLimit = 32768;

/// The arguments are whole numbers with a blank between. Those from 1001 on are our own.
enum class PlayerCommand : int32_t {
  kSelect = 21,          ///< player
  kQueueOfSelected = 30, ///< offset, limit
  kStatus = 1001,        ///< player
  kQueue = 1002,         ///< player, offset, limit
  kPlay = 1003,          ///< player, position in the queue
  kResume = 1004,        ///< player; so are those without a word
  kPause = 1005,
  kStop = 1006,
  kNext = 1007,
  kPrevious = 1008,
  kSeek = 1009,   ///< player, milliseconds
  kVolume = 1010, ///< player, percent
  /// Player, position. The songs come along in a sealed memory file (memfd_create(2), SCM_RIGHTS):
  /// paths and addresses, a line each. They take the place of the queue, and play from the one at
  /// the position on.
  kReplaceQueue = 1011,
  kAppendToQueue = 1012, ///< player; the songs go behind what is there
  kPlayNext = 1013,      ///< player; the songs go behind the one that plays
  kRepeat = 1014,        ///< player, 0 or 1; so is the next
  kRandom = 1015,
  kRemove = 1016, ///< player, position in the queue, number of songs
  kMove = 1017,   ///< player, position in the queue, position then
};

} // namespace vexo::system
