#pragma once
// Text helpers. All texts are UTF-8 unless a name says otherwise.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vexo::text {

/// Splits at every `separator` (not empty); adjacent, leading and trailing separators add nothing.
std::vector<std::string> Split(std::string_view text, std::string_view separator);

/// Without blanks, tabs and line ends at both ends; a view into `text`.
std::string_view Trim(std::string_view text);

/// Escapes & < > " and '.
std::string EscapeHtml(std::string_view text);

/// The number that the whole of `text` is in decimal; nothing for any other text or one out of
/// range.
std::optional<int64_t> ParseInteger(std::string_view text);

/// Whether `bytes` is well-formed UTF-8.
bool IsUtf8(std::string_view bytes);

/// Unicode simple case folding (statuses C and S of CaseFolding.txt). Bytes that are not UTF-8
/// stay.
std::string FoldCase(std::string_view text);

} // namespace vexo::text
