#pragma once
#include <CLI/App.hpp>

namespace vexo::tools {

/// Adds `doctor [--repair]` to the program. It ends the program with status 1, by
/// CLI::RuntimeError, when something is found that is not mended.
void AddDoctorCommand(CLI::App &program);

} // namespace vexo::tools
