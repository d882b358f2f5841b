#include "smart/dates.h"

#include <algorithm>

namespace vexo::smart {
namespace {

/// A calendar day; the calculations with it know no clock.
struct Day {
  int year = 0;
  int month = 1; ///< 1 to 12
  int day = 1;
  bool operator==(const Day &) const = default;
};

Day DayOf(const std::tm &tm) { return {tm.tm_year + 1900, tm.tm_mon + 1, tm.tm_mday}; }

std::tm MidnightOf(Day day) {
  std::tm tm{};
  tm.tm_year = day.year - 1900;
  tm.tm_mon = day.month - 1;
  tm.tm_mday = day.day;
  tm.tm_isdst = -1;
  return tm;
}

/// The day of a broken-down time whose fields may be out of their ranges, and its weekday.
std::tm Normalise(std::tm tm) {
  const std::time_t time = timegm(&tm);
  gmtime_r(&time, &tm);
  return tm;
}

Day AddDays(Day day, int64_t count) {
  std::tm tm = MidnightOf(day);
  tm.tm_mday += static_cast<int>(count);
  return DayOf(Normalise(tm));
}

int DaysInMonth(int year, int month) { return AddDays({year, month + 1, 1}, -1).day; }

Day AddMonths(Day day, int64_t count) {
  const int64_t months = int64_t{day.year} * 12 + day.month - 1 + count;
  const int64_t year = months >= 0 ? months / 12 : (months - 11) / 12;
  Day moved{static_cast<int>(year), static_cast<int>(months - year * 12) + 1, day.day};
  moved.day = std::min(moved.day, DaysInMonth(moved.year, moved.month));
  return moved;
}

Day Move(Day day, const Date::Shift &shift) {
  switch (shift.unit) {
  case Unit::kDay:
    return AddDays(day, shift.count);
  case Unit::kWeek:
    return AddDays(day, shift.count * 7);
  case Unit::kMonth:
    return AddMonths(day, shift.count);
  case Unit::kYear:
    break;
  }
  return AddMonths(day, shift.count * 12);
}

Day MondayOf(Day day) {
  const int weekday = Normalise(MidnightOf(day)).tm_wday; // 0 is Sunday
  return AddDays(day, -((weekday + 6) % 7));
}

std::tm LocalTime(std::time_t time) {
  std::tm tm{};
  localtime_r(&time, &tm);
  return tm;
}

Day AnchorDay(const Date &date, std::time_t now) {
  const Day today = DayOf(LocalTime(now));
  switch (date.anchor) {
  case Date::Anchor::kDay:
    return {date.year, date.month, date.day};
  case Date::Anchor::kToday:
    break;
  case Date::Anchor::kYesterday:
    return AddDays(today, -1);
  case Date::Anchor::kThisWeek:
    return MondayOf(today);
  case Date::Anchor::kLastWeek:
    return AddDays(MondayOf(today), -7);
  case Date::Anchor::kThisMonth:
    return {today.year, today.month, 1};
  case Date::Anchor::kLastMonth:
    return AddMonths({today.year, today.month, 1}, -1);
  case Date::Anchor::kThisYear:
    return {today.year, 1, 1};
  case Date::Anchor::kLastYear:
    return {today.year - 1, 1, 1};
  }
  return today;
}

constexpr std::time_t kHour = 3600;

std::time_t SecondOfDay(const std::tm &tm) {
  return tm.tm_hour * kHour + tm.tm_min * std::time_t{60} + tm.tm_sec;
}

/// mktime() may land on either side of a midnight that is skipped, and on the second one of a
/// midnight that comes twice.
std::time_t StartOfDay(Day day) {
  std::tm midnight = MidnightOf(day);
  const std::time_t start = std::mktime(&midnight);
  if (SecondOfDay(midnight) > 12 * kHour) {
    return start + 24 * kHour - SecondOfDay(midnight);
  }
  const std::tm just_before = LocalTime(start - 1);
  return DayOf(just_before) == day ? start - 1 - SecondOfDay(just_before) : start;
}

} // namespace

std::time_t ResolveDate(const Date &date, std::time_t now) {
  Day day = AnchorDay(date, now);
  for (auto shift = date.shifts.rbegin(); shift != date.shifts.rend(); ++shift) {
    day = Move(day, *shift);
  }
  return StartOfDay(day);
}

} // namespace vexo::smart
