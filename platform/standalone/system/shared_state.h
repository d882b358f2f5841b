#pragma once
#include <string>

namespace vexo::system {

/// Where the file `name` lies that all who share the index share: in /var/lib/vexo; where a server
/// has the index, and several machines may use it, with the preference folders, which they share as
/// well.
std::string SharedStatePath(const std::string &name);

} // namespace vexo::system
