#pragma once
#include <cstddef>
#include <string>
#include <string_view>

namespace vexo::tools {

/// Prints the last `count` events (0: all) of the administrative log.
void PrintLog(std::size_t count);

/// One line of the log as people read it: local time, event code, texts. A line that is none of the
/// log's stays as it is.
std::string ReadableLogLine(std::string_view line);

/// The last `count` lines of a log (0: all), each terminated.
std::string_view LastLines(std::string_view log, std::size_t count);

} // namespace vexo::tools
