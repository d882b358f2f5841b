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

/// Escapes & < > " and '.
std::string EscapeHtml(std::string_view text);

} // namespace vexo::text
