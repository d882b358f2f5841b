#pragma once
// Header fields of the form `value; attribute=value; attribute="quoted value"` (RFC 9110, 5.6.6).

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace vexo::web {

struct HeaderValue {
  std::string text;                                            ///< in small letters
  std::vector<std::pair<std::string, std::string>> attributes; ///< names in small letters

  /// The first attribute of that name; null when there is none.
  [[nodiscard]] const std::string *Attribute(std::string_view name) const;
};

/// Nothing for a text that is not of the form: an attribute without a value, an open quote.
std::optional<HeaderValue> ParseHeaderValue(std::string_view field);

/// Compares ASCII texts without regard to letter case.
bool EqualsIgnoringCase(std::string_view left, std::string_view right);

} // namespace vexo::web
