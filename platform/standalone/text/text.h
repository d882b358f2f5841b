#pragma once
// Text helpers. All texts are UTF-8 unless a name says otherwise.

#include <string>
#include <string_view>
#include <vector>

namespace vexo::text {

/// Splits at every `separator` (not empty); adjacent, leading and trailing separators add nothing.
std::vector<std::string> Split(std::string_view text, std::string_view separator);

/// Without blanks, tabs and line ends at both ends; a view into `text`.
std::string_view Trim(std::string_view text);

/// Compares in a time that depends on the lengths alone, as secrets are compared.
bool EqualInConstantTime(std::string_view left, std::string_view right);

/// `bytes` with a percent sign and two hexadecimal digits for each that is no ASCII letter, no
/// digit and none of `plain` (RFC 3986, 2.1).
std::string PercentEncode(std::string_view bytes, std::string_view plain);

/// Escapes & < > " and '.
std::string EscapeHtml(std::string_view text);

} // namespace vexo::text
