#pragma once
// The administrative log (kAdminLog): one event a line, for the owner of the machine.

#include <string>
#include <vector>

namespace vexo::services {

/// Appends an event: the time, `event` in hex, and `texts` separated by tabs (tabs and line breaks
/// in them escaped). One write, so lines of several processes do not mix. Throws std::system_error.
void AppendAdminLog(unsigned event, const std::vector<std::string> &texts);

} // namespace vexo::services
