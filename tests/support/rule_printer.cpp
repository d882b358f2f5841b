#include "support/rule_printer.h"

#include "smart/lexer.h"
#include "smart/vocabulary.h"
#include <algorithm>
#include <cstdio>

namespace vexo::smart {
namespace {

std::string_view FieldName(index::Field field) {
  return std::ranges::find(kFields, field, &FieldWord::field)->word;
}

const char *ComparisonSign(index::Comparison comparison) {
  switch (comparison) {
  case index::Comparison::kIs:
    return "is";
  case index::Comparison::kIncludes:
    return "includes";
  case index::Comparison::kStartsWith:
    return "starts with";
  case index::Comparison::kEndsWith:
    return "ends with";
  case index::Comparison::kEqual:
    return "=";
  case index::Comparison::kNotEqual:
    return "!=";
  case index::Comparison::kLess:
    return "<";
  case index::Comparison::kLessEqual:
    return "<=";
  case index::Comparison::kGreater:
    return ">";
  case index::Comparison::kGreaterEqual:
    return ">=";
  }
  return "";
}

void Append(std::string &text, std::string_view word) { text.append(" ").append(word); }

void AppendAnchor(std::string &text, const Date &date) {
  if (date.anchor == Date::Anchor::kDay) {
    char day[32];
    std::snprintf(day, sizeof day, "%04d-%02d-%02d", date.year, date.month, date.day);
    return Append(text, day);
  }
  const auto *words = std::ranges::find(kAnchors, date.anchor, &AnchorWords::anchor);
  Append(text, words->first);
  if (!words->second.empty()) {
    Append(text, words->second);
  }
}

void AppendDate(std::string &text, const Date &date) {
  for (const Date::Shift &shift : date.shifts) {
    const int64_t count = shift.count < 0 ? -shift.count : shift.count;
    const auto *unit = std::ranges::find(kUnits, shift.unit, &UnitWords::unit);
    Append(text, std::to_string(count));
    Append(text, count == 1 ? unit->one : unit->many);
    if (&shift == &date.shifts.back() && shift.count < 0 && date.anchor == Date::Anchor::kToday) {
      return Append(text, "ago");
    }
    Append(text, shift.count < 0 ? "before" : "after");
  }
  AppendAnchor(text, date);
}

void AppendTest(std::string &text, const Criteria &test) {
  Append(text, FieldName(test.field));
  if (test.kind == Criteria::Kind::kTime) {
    Append(text, test.comparison == index::Comparison::kLess ? "before" : "after");
    return AppendDate(text, test.date);
  }
  Append(text, ComparisonSign(test.comparison));
  if (test.kind == Criteria::Kind::kNumber) {
    Append(text, std::to_string(test.number));
  } else if (test.comparison == index::Comparison::kIs && test.text.empty()) {
    Append(text, "empty");
  } else {
    Append(text, QuoteString(test.text));
  }
}

bool NeedsParentheses(Criteria::Kind child, Criteria::Kind parent) {
  return (child == Criteria::Kind::kOr || child == Criteria::Kind::kAnd) &&
         !(child == Criteria::Kind::kAnd && parent == Criteria::Kind::kOr);
}

void AppendCriteria(std::string &text, const Criteria &criteria);

void AppendChild(std::string &text, const Criteria &child, Criteria::Kind parent) {
  if (!NeedsParentheses(child.kind, parent)) {
    return AppendCriteria(text, child);
  }
  Append(text, "(");
  AppendCriteria(text, child);
  Append(text, ")");
}

void AppendCriteria(std::string &text, const Criteria &criteria) {
  switch (criteria.kind) {
  case Criteria::Kind::kNot:
    Append(text, "not");
    return AppendChild(text, criteria.children.front(), criteria.kind);
  case Criteria::Kind::kAnd:
  case Criteria::Kind::kOr:
    for (const Criteria &child : criteria.children) {
      if (&child != &criteria.children.front()) {
        Append(text, criteria.kind == Criteria::Kind::kAnd ? "and" : "or");
      }
      AppendChild(text, child, criteria.kind);
    }
    return;
  default:
    return AppendTest(text, criteria);
  }
}

} // namespace

std::string PrintPlaylist(const SmartPlaylist &playlist) {
  std::string text = QuoteString(playlist.name) + " {\n ";
  AppendCriteria(text, playlist.criteria);
  if (playlist.order) {
    Append(text += "\n ", "order by");
    Append(text, playlist.order->field ? FieldName(*playlist.order->field) : "random");
    if (!playlist.order->ascending) {
      Append(text, "desc");
    }
  }
  if (playlist.limit) {
    Append(text += "\n ", "limit");
    Append(text, std::to_string(*playlist.limit));
  }
  return text += "\n}";
}

} // namespace vexo::smart
