#include "index/sqlite_match.h"

namespace vexo::index {

std::string MatchExpression(const char *column, const std::string &folded) {
  std::string expression = column == nullptr ? "" : std::string(column) + " : ";
  expression += '"';
  for (const char c : folded) {
    expression += c;
    if (c == '"') {
      expression += c;
    }
  }
  return expression + '"';
}

} // namespace vexo::index
