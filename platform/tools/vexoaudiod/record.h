#pragma once
// The commands of the control socket: records of a fixed size, a 32-bit code in the machine's byte
// order and an argument text that ends with a NUL.

#include <cstddef>
#include <string>
#include <string_view>
#include <variant>

namespace vexo::audiod {

inline constexpr std::size_t kRecordSize = 8196;

/// From now on the process that asks means this player; -1 is the one on USB.
struct SelectPlayer {
  int player;
};

/// Entries of the selected player's queue.
struct GetQueue {
  unsigned offset;
  unsigned limit;
};

/// What is no command of this daemon, and why.
struct Refusal {
  std::string reason;
};

using Command = std::variant<Refusal, SelectPlayer, GetQueue>;

Command ParseRecord(std::string_view record);

} // namespace vexo::audiod
