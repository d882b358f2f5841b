#pragma once
// Faults by named switches: the calls to the operating system that write files go through wrappers
// (the linker's --wrap, see tests/contract/CMakeLists.txt), which fail the Nth call of a kind, cut
// it short, or end the process before it.

#include <functional>

namespace faults {

enum class Call { kOpen, kLock, kWrite, kSync, kRename, kUnlink };

/// A write that takes half of its bytes, instead of one that fails.
inline constexpr int kShort = -1;

/// While it lives, the `nth` call of that kind (1: the next one) fails with `error`.
class Fault {
public:
  Fault(Call call, int nth, int error);
  ~Fault();
  Fault(const Fault &) = delete;
  Fault &operator=(const Fault &) = delete;
  /// Whether the call has come.
  [[nodiscard]] static bool Happened();
};

/// Runs `operation` in a process of its own that is killed before its `step`-th call of any kind
/// (1: the first). True when it was; false when it came to its end first.
bool KilledAt(int step, const std::function<void()> &operation);

/// Runs something right before the next rename of this process, once: what another process might do
/// at the worst moment.
void BeforeNextRename(std::function<void()> interference);

} // namespace faults
