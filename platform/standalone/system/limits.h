#pragma once
// What one process may take of the machine: `memory_mib` of address space and `cpu_seconds` in
// `[limits]` of the configuration; 0: as much as the machine gives. Only the soft limits are set,
// so that work that no client's bytes can make endless may have back what was there before.

#include <cstdint>
#include <sys/resource.h>

namespace vexo::system {

// A request with as many entries and bytes as there may be takes 830 MiB, and 2 s on a desktop.
inline constexpr int64_t kDefaultMemoryMib = 2048;
inline constexpr int64_t kDefaultCpuSeconds = 60;

/// For the log, wherever memory has run out.
inline constexpr char kMemoryUsedUp[] = "a request has used up the memory that memory_mib in "
                                        "[limits] of the configuration gives it";

/// Limits this process. A lower limit that is there already stays. One that has more memory mapped
/// than it may have, as under AddressSanitizer, is not limited in it.
void LimitProcess();

/// Gives the CPU time back: for what takes as long as files are large.
void LiftCpuLimit() noexcept;

/// As long as it lives, this process and those that it starts are not limited.
class LimitsLifted {
public:
  LimitsLifted() noexcept;
  ~LimitsLifted();
  LimitsLifted(const LimitsLifted &) = delete;
  LimitsLifted &operator=(const LimitsLifted &) = delete;

private:
  rlimit memory_, cpu_;
};

} // namespace vexo::system
