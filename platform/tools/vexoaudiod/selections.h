#pragma once
// Which process has chosen which player.

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <sys/types.h>

namespace vexo::audiod {

/// Unique: pids are reused, (pid, start time) is not.
struct ProcessId {
  pid_t pid;
  uint64_t start_time; ///< in clock ticks since boot
};

/// The process at the other end of a UNIX socket; nothing when it is gone or not to be seen.
std::optional<ProcessId> PeerProcess(int connection);

/// Bounded, and forgetful: a process that has not asked for a while is dropped, and when there are
/// too many, the one that asked least recently.
class Selections {
public:
  using Clock = std::chrono::steady_clock;
  static constexpr std::size_t kMost = 1024;
  static constexpr std::chrono::seconds kKept{60};

  void Select(ProcessId process, int player, Clock::time_point now);
  void Forget(ProcessId process);
  /// The player that the process has chosen; asking keeps the choice.
  std::optional<int> Selected(ProcessId process, Clock::time_point now);
  [[nodiscard]] std::size_t size() const { return selections_.size(); }

private:
  struct Selection {
    uint64_t start_time;
    int player;
    Clock::time_point used;
  };

  void DropOld(Clock::time_point now);

  std::map<pid_t, Selection> selections_;
};

} // namespace vexo::audiod
