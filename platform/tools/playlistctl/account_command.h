#pragma once
#include <CLI/App.hpp>

namespace vexo::tools {

/// Adds `account add|list|set|remove|passwd` to the program. The commands throw what the accounts
/// throw.
void AddAccountCommand(CLI::App &program);

} // namespace vexo::tools
