#include "api/query.h"
#include "text/numbers.h"
#include <algorithm>
#include <limits>

namespace vexo::api {

namespace {

bool IsOneOf(std::string_view names, std::string_view name) {
  while (!names.empty()) {
    const std::string_view first = names.substr(0, names.find(' '));
    if (first == name) {
      return true;
    }
    names.remove_prefix(std::min(first.size() + 1, names.size()));
  }
  return false;
}

} // namespace

Query::Query(std::string_view text, std::string_view known) : text_(text) {
  if (web::DecodeUrlEncoded(text_, parameters_)) {
    Check(known);
  } else {
    problem_ = Problem{400, "The query has too many parameters.", {}};
  }
}

void Query::Check(std::string_view known) {
  for (auto i = parameters_.begin(); i != parameters_.end(); ++i) {
    const auto is_same = [&](const web::Parameter &other) { return other.name == i->name; };
    if (!IsOneOf(known, i->name)) {
      Refuse(i->name, "This resource has no such parameter.");
    } else if (std::any_of(parameters_.begin(), i, is_same)) {
      Refuse(i->name, "The parameter is there more than once.");
    } else if (i->value.find('\0') != std::string_view::npos) {
      Refuse(i->name, "The value holds a NUL byte.");
    }
  }
}

void Query::Refuse(std::string_view name, std::string detail) {
  if (!problem_) {
    problem_ = Problem{400, std::move(detail), std::string(name)};
  }
}

std::optional<std::string_view> Query::Text(std::string_view name) const {
  const auto found =
      std::find_if(parameters_.begin(), parameters_.end(),
                   [&](const web::Parameter &parameter) { return parameter.name == name; });
  return found == parameters_.end() ? std::nullopt : std::optional(found->value);
}

int64_t Query::Number(std::string_view name, int64_t fallback, int64_t least, int64_t most) {
  const std::optional<std::string_view> text = Text(name);
  if (!text) {
    return fallback;
  }
  const std::optional<int64_t> number = text::ParseInteger(*text);
  if (!number || *number < least || *number > most) {
    Refuse(name, "The value is no whole number from " + std::to_string(least) + " to " +
                     std::to_string(most) + ".");
    return fallback;
  }
  return *number;
}

std::string_view Query::Choice(std::string_view name,
                               std::initializer_list<std::string_view> choices) {
  const std::optional<std::string_view> text = Text(name);
  if (!text) {
    return *choices.begin();
  }
  const auto *const found = std::find(choices.begin(), choices.end(), *text);
  if (found != choices.end()) {
    return *found;
  }
  std::string names;
  for (const std::string_view choice : choices) {
    names.append(names.empty() ? "" : ", ").append(choice);
  }
  Refuse(name, "The value is none of these: " + names + ".");
  return *choices.begin();
}

Page ReadPage(Query &query) {
  return {query.Number("offset", 0, 0, std::numeric_limits<int32_t>::max()),
          query.Number("limit", kUsualItems, 0, kMostItems)};
}

} // namespace vexo::api
