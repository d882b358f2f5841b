#pragma once

#include "smart/rule.h"
#include <ctime>

namespace vexo::smart {

/// The moment that a date stands for when it is `now`: the first second of the day, in the local
/// time zone. Weeks begin on Monday. A month or year away from a day that the month does not have
/// is that month's last day. A day without a midnight (a clock put forward) begins with its first
/// second.
std::time_t ResolveDate(const Date &date, std::time_t now);

} // namespace vexo::smart
