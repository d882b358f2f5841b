#pragma once

namespace vexo::system {

/// Runs the command of `[daap] restart=`, by which the DAAP service learns of changed rules, and
/// waits for it; nothing where there is none. Throws std::runtime_error when it fails.
void RestartDaapService();

} // namespace vexo::system
