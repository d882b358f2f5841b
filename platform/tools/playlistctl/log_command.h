#pragma once
#include <CLI/App.hpp>
#include <string>
#include <string_view>

namespace vexo::tools {

/// Adds `log [-n N]`, which prints the administrative log, to the program.
void AddLogCommand(CLI::App &program);

/// One line of the log as people read it: local time, event code, texts. A line that is none of the
/// log's stays as it is.
std::string ReadableLogLine(std::string_view line);

/// The last `count` lines of a log (0: all), each terminated.
std::string_view LastLines(std::string_view log, std::size_t count);

} // namespace vexo::tools
