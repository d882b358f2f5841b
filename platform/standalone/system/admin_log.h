#pragma once
// The administrative log (kAdminLog): one event a line, for the owner of the machine. A line is the
// time in UTC (ISO 8601), the event's code in eight hexadecimal digits, and the event's texts, all
// separated by tabs.

#include <string>
#include <vector>

namespace vexo::system {

/// Appends an event with `texts`. One write, so lines of several processes do not mix. Makes the
/// log and its folder when missing. Throws std::system_error.
void AppendAdminLog(unsigned event, const std::vector<std::string> &texts);

} // namespace vexo::system
