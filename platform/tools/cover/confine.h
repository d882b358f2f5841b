#pragma once

namespace vexo::cover {

/// From now on this process can do nothing but read and write what it has open and take some memory
/// and time, whatever the bytes that it reads make of it: limits, no new privileges, and of the
/// calls of the operating system only those that take memory, read, write and end.
void Confine();

} // namespace vexo::cover
