#pragma once
// The rule language:
//
//   playlist  := STRING "{" criteria [order] [limit] "}"
//   criteria  := criteria OR criteria | criteria AND criteria | NOT criteria
//              | "(" criteria ")" | predicate          NOT binds closest, then AND, then OR
//   predicate := textfield [NOT] ("is" | "includes" | "starts with" | "ends with") STRING
//              | textfield [NOT] "is" "empty"
//              | numberfield [NOT] ("=" | "!=" | "<" | "<=" | ">" | ">=") INTEGER
//              | datefield [NOT] ("before" | "after") date
//   date      := YYYY-MM-DD | today | yesterday | (this | last) (week | month | year)
//              | INTEGER unit ("ago" | ("before" | "after") date)
//   order     := "order by" (field | "random") ["asc" | "desc"]
//   limit     := "limit" INTEGER
//
// AND, OR and NOT may be written && || and !; words may be in any letter case; '#' begins a comment
// that ends with its line. The fields and units are in smart/vocabulary.h.

#include "smart/rule.h"
#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>

namespace vexo::smart {

/// Parentheses and NOTs inside one another, and dates that are counted from dates.
inline constexpr int kDeepestNesting = 100;
/// Predicates in one playlist; bounds memory.
inline constexpr int kMostPredicates = 10000;
/// Days, weeks, months or years in a date.
inline constexpr int64_t kLargestCount = 1000000;

/// Where and why a text is no playlist.
class SyntaxError : public std::runtime_error {
public:
  SyntaxError(std::size_t offset, const std::string &message)
      : std::runtime_error(message), offset_bytes(offset) {}
  std::size_t offset_bytes; ///< from the beginning of the text
};

/// Reads the one playlist that the text is. Throws SyntaxError.
SmartPlaylist ParsePlaylist(std::string_view text);

} // namespace vexo::smart
