#pragma once
#include <CLI/App.hpp>

namespace vexo::tools {

/// Adds `scan [--library shared|USER]` to the program.
void AddScanCommand(CLI::App &program);

} // namespace vexo::tools
