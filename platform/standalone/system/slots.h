#pragma once
#include "files/file_descriptor.h"
#include <chrono>
#include <optional>
#include <string>

namespace vexo::system {

/// One of `count` places on this machine for work of the kind `name`, taken for as long as the
/// descriptor is open (a lock on a file below kSlots, so that it ends with the process). Nothing
/// when all are taken and none becomes free within `patience`. Throws std::system_error.
std::optional<files::FileDescriptor> TakeSlot(const std::string &name, int count,
                                              std::chrono::milliseconds patience);

} // namespace vexo::system
