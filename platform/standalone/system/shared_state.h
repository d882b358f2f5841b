#pragma once
#include <string>
#include <string_view>

namespace vexo::system {

/// Whether a URL of the index names a server, not a file.
bool IsServerUrl(std::string_view url);

/// Where the file `name` lies that all who share the index share: in /var/lib/vexo; where a server
/// has the index, and several machines may use it, with the preference folders, which they share as
/// well.
std::string SharedStatePath(const std::string &name);

} // namespace vexo::system
