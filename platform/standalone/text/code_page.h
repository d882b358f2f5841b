#pragma once
// Code pages, by the number that names them (932, 1252, ...; 65001 is UTF-8), through iconv.

#include <optional>
#include <string>
#include <string_view>

namespace vexo::text {

inline constexpr int kUtf8CodePage = 65001;

/// Whether texts can be converted to and from the code page.
bool IsKnownCodePage(int code_page);

/// `utf8` in the code page, with "_" for every character that has no place there. A text that is
/// not UTF-8 stays as it is. Nothing when the page is not known.
std::optional<std::string> FromUtf8(int code_page, std::string_view utf8);

/// `bytes` of the code page as UTF-8; nothing when they are not of it or the page is not known.
std::optional<std::string> ToUtf8(int code_page, std::string_view bytes);

} // namespace vexo::text
