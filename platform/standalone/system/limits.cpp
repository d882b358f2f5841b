#include "system/limits.h"

#include "system/config.h"
#include "system/log.h"
#include "text/numbers.h"
#include <algorithm>
#include <cstdint>
#include <sys/mman.h>

namespace vexo::system {
namespace {

rlimit Limit(__rlimit_resource resource) noexcept {
  rlimit limit{RLIM_INFINITY, RLIM_INFINITY};
  getrlimit(resource, &limit);
  return limit;
}

/// Sets the soft limit, which may always be one up to the hard limit.
void SetSoft(__rlimit_resource resource, rlim_t soft) noexcept {
  rlimit limit = Limit(resource);
  limit.rlim_cur = std::min(soft, limit.rlim_max);
  setrlimit(resource, &limit);
}

/// The number that a key of `[limits]` holds, in `unit`s; the largest for 0.
rlim_t Configured(const char *key, int64_t fallback, int64_t unit) {
  const std::optional<std::string> value = Setting("limits", key);
  const std::optional<int64_t> number = value ? text::ParseInteger(*value) : fallback;
  if (!number || *number < 0 || *number > INT64_MAX / unit) {
    LogFailure(key, "in [limits] of the configuration is no number that can be; the default holds");
    return static_cast<rlim_t>(fallback * unit);
  }
  return *number == 0 ? RLIM_INFINITY : static_cast<rlim_t>(*number * unit);
}

bool CanMapAPage() noexcept {
  constexpr std::size_t kAnyPage = 4096;
  void *const page =
      mmap(nullptr, kAnyPage, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  return page != MAP_FAILED && munmap(page, kAnyPage) == 0;
}

} // namespace

void LimitProcess() {
  const rlimit cpu = Limit(RLIMIT_CPU), memory = Limit(RLIMIT_AS);
  SetSoft(RLIMIT_CPU, std::min(cpu.rlim_cur, Configured("cpu_seconds", kDefaultCpuSeconds, 1)));
  SetSoft(RLIMIT_AS, std::min(memory.rlim_cur,
                              Configured("memory_mib", kDefaultMemoryMib, int64_t{1} << 20U)));
  if (!CanMapAPage()) {
    SetSoft(RLIMIT_AS, memory.rlim_cur);
  }
}

void LiftCpuLimit() noexcept { SetSoft(RLIMIT_CPU, RLIM_INFINITY); }

LimitsLifted::LimitsLifted() noexcept : memory_(Limit(RLIMIT_AS)), cpu_(Limit(RLIMIT_CPU)) {
  SetSoft(RLIMIT_AS, RLIM_INFINITY);
  SetSoft(RLIMIT_CPU, RLIM_INFINITY);
}

LimitsLifted::~LimitsLifted() {
  SetSoft(RLIMIT_AS, memory_.rlim_cur);
  SetSoft(RLIMIT_CPU, cpu_.rlim_cur);
}

} // namespace vexo::system
