// The clock of a machine that is VEXO_CLOCK_AHEAD seconds before the others, or behind them. What
// asks for the time does so by these two, which stand in the places of those of the C library (the
// linker's --wrap).
#include <cstdlib>
#include <ctime>

namespace {

time_t Ahead() {
  const char *const seconds = std::getenv("VEXO_CLOCK_AHEAD");
  return seconds == nullptr ? 0 : std::strtoll(seconds, nullptr, 10);
}

} // namespace

extern "C" {

int __real_clock_gettime(clockid_t clock, timespec *now);

int __wrap_clock_gettime(clockid_t clock, timespec *now) {
  const int result = __real_clock_gettime(clock, now);
  if (clock == CLOCK_REALTIME) {
    now->tv_sec += Ahead();
  }
  return result;
}

time_t __wrap_time(time_t *out) {
  timespec now{};
  __wrap_clock_gettime(CLOCK_REALTIME, &now);
  if (out != nullptr) {
    *out = now.tv_sec;
  }
  return now.tv_sec;
}

} // extern "C"
