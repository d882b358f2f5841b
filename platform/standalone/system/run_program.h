#pragma once
#include <optional>
#include <string>
#include <vector>

namespace vexo::system {

/// Runs a program (an absolute path, no shell) with the arguments, standard input and output on
/// /dev/null, and waits. Its exit status; nothing when it could not be started or was ended by a
/// signal.
std::optional<int> RunProgram(const std::string &path, const std::vector<std::string> &arguments);

} // namespace vexo::system
