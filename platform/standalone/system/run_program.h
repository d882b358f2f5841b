#pragma once
#include <optional>
#include <string>
#include <vector>

namespace vexo::system {

/// Runs a program (an absolute path, no shell) with the arguments, standard input and output on
/// /dev/null, and waits. Its exit status; nothing when it could not be started or was ended by a
/// signal.
std::optional<int> RunProgram(const std::string &path, const std::vector<std::string> &arguments);

/// Starts a program in the same way, in a session of its own that outlives this process. False, and
/// a log line, when it cannot be started.
[[nodiscard]] bool StartProgram(const std::string &path, const std::vector<std::string> &arguments);

} // namespace vexo::system
