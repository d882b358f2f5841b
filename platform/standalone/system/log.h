#pragma once

namespace vexo::system {

/// Writes one line to the system log at error priority: "OPERATION: CAUSE".
void LogFailure(const char *operation, const char *cause) noexcept;

} // namespace vexo::system
