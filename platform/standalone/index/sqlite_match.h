#pragma once
#include <string>

namespace vexo::index {

/// The search expression of FTS5 for rows with `folded` as a part of `column`; of any column when
/// that is null.
std::string MatchExpression(const char *column, const std::string &folded);

} // namespace vexo::index
