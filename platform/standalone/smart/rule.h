#pragma once
// A smart playlist as its rules say it. What a rule means for the songs of today is in
// smart/rule_query.h.

#include "index/song_query.h"
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace vexo::smart {

enum class Unit { kDay, kWeek, kMonth, kYear };

/// A calendar day, which stands for the moment it begins in local time.
struct Date {
  enum class Anchor {
    kDay,
    kToday,
    kYesterday,
    kThisWeek,
    kThisMonth,
    kThisYear,
    kLastWeek,
    kLastMonth,
    kLastYear,
  };
  /// "2 weeks before" has a count of -2.
  struct Shift {
    int64_t count = 0;
    Unit unit = Unit::kDay;
    bool operator==(const Shift &) const = default;
  };

  Anchor anchor = Anchor::kToday;   ///< the first day of a week, month or year
  int year = 0, month = 0, day = 0; ///< of kDay
  std::vector<Shift> shifts;        ///< as they are written, so the last one is done first
  bool operator==(const Date &) const = default;
};

/// A tree of conditions on a song. And, or: two or more children; not: one child.
struct Criteria {
  enum class Kind { kAnd, kOr, kNot, kText, kNumber, kTime };
  Kind kind = Kind::kText;
  std::vector<Criteria> children;
  index::Field field = index::Field::kTitle;
  index::Comparison comparison = index::Comparison::kIs; ///< times: kLess (before) or kGreaterEqual
  std::string text;
  int64_t number = 0;
  Date date;
  bool operator==(const Criteria &) const = default;
};

struct Order {
  std::optional<index::Field> field; ///< nothing: random
  bool ascending = true;
  bool operator==(const Order &) const = default;
};

struct SmartPlaylist {
  std::string name;
  Criteria criteria;
  std::optional<Order> order;
  std::optional<int64_t> limit;
  bool operator==(const SmartPlaylist &) const = default;
};

} // namespace vexo::smart
