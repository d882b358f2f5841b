#pragma once

namespace vexo::cover {

inline constexpr unsigned kCpuSeconds = 10; // 50 megapixels take two

/// From now on this process can do nothing but read and write what it has open and take some memory
/// and time, whatever the bytes that it reads make of it: limits, no new privileges, and of the
/// calls of the operating system only those that take memory, read, write and end. Who needs more
/// time ends by SIGXCPU, which tells it from what the machine ends.
void Confine(unsigned cpu_seconds = kCpuSeconds);

} // namespace vexo::cover
