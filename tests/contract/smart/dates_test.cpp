#include "smart/dates.h"

#include "smart/parser.h"
#include <cstdlib>
#include <ctime>
#include <gtest/gtest.h>
#include <string>

namespace vexo::smart {
namespace {

// Zones by their rules, as a machine need not have the names of all.
constexpr const char *kBerlin = "CET-1CEST,M3.5.0,M10.5.0/3";

/// A time zone for one test.
class Zone {
public:
  explicit Zone(const char *zone) {
    setenv("TZ", zone, 1);
    tzset();
  }
  ~Zone() {
    unsetenv("TZ");
    tzset();
  }
  Zone(const Zone &) = delete;
  Zone &operator=(const Zone &) = delete;
};

Date ParseDate(const std::string &date) {
  return ParsePlaylist("\"P\" { time_added after " + date + " }").criteria.date;
}

std::string LocalText(std::time_t time) {
  std::tm tm{};
  localtime_r(&time, &tm);
  char text[64];
  std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &tm);
  return text;
}

/// What a date means at a moment of the current time zone, "YYYY-MM-DD HH:MM:SS".
std::string Resolved(const std::string &date, const char *now_text) {
  std::tm tm{};
  strptime(now_text, "%Y-%m-%d %H:%M:%S", &tm);
  tm.tm_isdst = -1;
  return LocalText(ResolveDate(ParseDate(date), std::mktime(&tm)));
}

struct DateRow {
  const char *date, *now, *resolved;
};

TEST(Dates, StandForTheMomentTheirDayBegins) {
  const Zone zone(kBerlin);
  const DateRow rows[] = {
      {"2020-02-29", "2026-11-21 03:15:00", "2020-02-29 00:00:00"},
      {"1969-07-20", "2026-11-21 03:15:00", "1969-07-20 00:00:00"},
      {"today", "2026-11-21 03:15:00", "2026-11-21 00:00:00"},
      {"today", "2026-11-21 00:00:00", "2026-11-21 00:00:00"},
      {"today", "2026-11-21 23:59:59", "2026-11-21 00:00:00"},
      {"yesterday", "2026-11-21 03:15:00", "2026-11-20 00:00:00"},
      {"yesterday", "2026-01-01 03:15:00", "2025-12-31 00:00:00"},
      {"this month", "2026-11-21 03:15:00", "2026-11-01 00:00:00"},
      {"last month", "2026-11-21 03:15:00", "2026-10-01 00:00:00"},
      {"last month", "2026-01-31 03:15:00", "2025-12-01 00:00:00"},
      {"this year", "2026-11-21 03:15:00", "2026-01-01 00:00:00"},
      {"last year", "2026-11-21 03:15:00", "2025-01-01 00:00:00"},
  };
  for (const DateRow &row : rows) {
    EXPECT_EQ(Resolved(row.date, row.now), row.resolved) << row.date << " at " << row.now;
  }
}

TEST(Dates, AWeekStartsOnMonday) {
  const Zone zone(kBerlin);
  const DateRow rows[] = {
      {"this week", "2026-11-16 00:00:00", "2026-11-16 00:00:00"}, // a Monday
      {"this week", "2026-11-21 12:00:00", "2026-11-16 00:00:00"},
      {"this week", "2026-11-22 23:59:59", "2026-11-16 00:00:00"}, // the Sunday
      {"this week", "2026-11-23 00:00:00", "2026-11-23 00:00:00"},
      {"last week", "2026-11-21 12:00:00", "2026-11-09 00:00:00"},
      {"last week", "2026-01-01 12:00:00", "2025-12-22 00:00:00"},
  };
  for (const DateRow &row : rows) {
    EXPECT_EQ(Resolved(row.date, row.now), row.resolved) << row.date << " at " << row.now;
  }
}

TEST(Dates, AreCountedByTheCalendar) {
  const Zone zone(kBerlin);
  const char *now = "2026-11-21 03:15:00";
  const DateRow rows[] = {
      {"0 days ago", now, "2026-11-21 00:00:00"},
      {"3 days ago", now, "2026-11-18 00:00:00"},
      {"2 weeks ago", now, "2026-11-07 00:00:00"},
      {"1 month ago", now, "2026-10-21 00:00:00"},
      {"11 months ago", now, "2025-12-21 00:00:00"},
      {"12 months ago", now, "2025-11-21 00:00:00"},
      {"1 month before 2024-03-31", now, "2024-02-29 00:00:00"},
      {"1 month after 2026-01-31", now, "2026-02-28 00:00:00"},
      {"1 year after 2024-02-29", now, "2025-02-28 00:00:00"},
      {"4 years before 2024-02-29", now, "2020-02-29 00:00:00"},
      {"10 days after 2026-12-25", now, "2027-01-04 00:00:00"},
      {"2 months after last year", now, "2025-03-01 00:00:00"},
      {"1 day before 1 month after 2026-01-31", now, "2026-02-27 00:00:00"},
      {"1 month after 1 day before 2026-01-31", now, "2026-02-28 00:00:00"},
  };
  for (const DateRow &row : rows) {
    EXPECT_EQ(Resolved(row.date, row.now), row.resolved) << row.date;
  }
}

TEST(Dates, HoldAcrossTheChangesOfTheClock) {
  const Zone zone(kBerlin);
  EXPECT_EQ(Resolved("yesterday", "2026-03-30 00:30:00"), "2026-03-29 00:00:00");
  EXPECT_EQ(Resolved("1 week ago", "2026-03-30 12:00:00"), "2026-03-23 00:00:00");
  EXPECT_EQ(Resolved("this week", "2026-10-25 23:00:00"), "2026-10-19 00:00:00");
  EXPECT_EQ(Resolved("6 months ago", "2026-11-21 12:00:00"), "2026-05-21 00:00:00");
}

TEST(Dates, ADayWithoutMidnightBeginsWithItsFirstSecond) {
  const Zone zone("<-03>3<-02>,M11.1.0/0,M2.3.0/0"); // 2018-11-04: 00:00 became 01:00
  EXPECT_EQ(Resolved("2018-11-04", "2026-11-21 12:00:00"), "2018-11-04 01:00:00");
  const std::time_t start = ResolveDate(ParseDate("2018-11-04"), 0);
  EXPECT_EQ(LocalText(start - 1), "2018-11-03 23:59:59");
}

TEST(Dates, ADayWithTwoMidnightsBeginsWithTheFirst) {
  const Zone zone("CST5CDT,M3.2.0/0,M11.1.0/1"); // 2026-11-01: 01:00 becomes 00:00
  const std::time_t start = ResolveDate(ParseDate("2026-11-01"), 0);
  EXPECT_EQ(LocalText(start), "2026-11-01 00:00:00");
  EXPECT_EQ(LocalText(start - 1), "2026-10-31 23:59:59");
  EXPECT_EQ(LocalText(start + 3600), "2026-11-01 00:00:00");
}

TEST(Dates, TheFarthestDatesEndNothing) {
  const Zone zone(kBerlin);
  std::string after;
  std::string before;
  for (int i = 0; i < 100; ++i) {
    after += "1000000 years after ";
    before += "1000000 years before ";
  }
  EXPECT_GT(ResolveDate(ParseDate(after + "today"), 0), std::time_t{1} << 50);
  EXPECT_LT(ResolveDate(ParseDate(before + "0000-01-01"), 0), -(std::time_t{1} << 50));
}

} // namespace
} // namespace vexo::smart
