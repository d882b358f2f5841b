#pragma once
// Texts in the code page of this host.

#include <optional>
#include <string>
#include <string_view>

namespace vexo::system {

/// A line's bytes that are not UTF-8, read in the host's code page (1252 where that is UTF-8
/// itself); nothing when they are not of that page either.
std::optional<std::string> FromHostCodePage(std::string_view bytes);

/// Any text as UTF-8: bytes that are not are read in the host's code page, and what is not of that
/// page either becomes question marks.
std::string ReadableText(std::string_view bytes);

} // namespace vexo::system
