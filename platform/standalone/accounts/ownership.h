#pragma once

#include <string>

namespace vexo::accounts {

/// Gives what root has just made to whom the folder above belongs, so that the web server can use
/// it. Does nothing for other users. Throws std::system_error.
void InheritOwner(const std::string &path);

/// Makes an empty file where there is none, for the owner of its folder. Where it cannot, who uses
/// the file next says why.
void MakeFileIfMissing(const std::string &path);

} // namespace vexo::accounts
