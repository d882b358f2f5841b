#pragma once
#include <string>
#include <vector>

namespace vexo::tools {

/// Runs `playlistctl` with these arguments. The exit status: 0 done, 1 a check found something, 100
/// and more: the command line was wrong, which the standard error then says. Throws what the
/// commands throw.
int RunCommandLine(std::vector<std::string> arguments);

} // namespace vexo::tools
