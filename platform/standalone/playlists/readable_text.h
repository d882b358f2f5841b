#pragma once
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace vexo::playlists {

/// A line's bytes that are not UTF-8, read in the host's code page (1252 where that is UTF-8
/// itself); nothing when they are not of that page either.
std::optional<std::string> FromHostCodePage(std::string_view bytes);

/// `bytes` without the UTF-8 character that is cut off at their end, if one is.
std::string_view WithoutCutCharacter(std::string_view bytes);

/// Any text as UTF-8: bytes that are not are read in the host's code page, and what is not of that
/// page either becomes question marks.
std::string ReadableText(std::string_view bytes);

/// The text of a record's field as UTF-8. One that fills the field may have been cut in the middle
/// of its last character, which is dropped then.
template <std::size_t Size> std::string ReadableField(const char (&field)[Size]) {
  const std::string_view text = field;
  return ReadableText(text.size() == Size - 1 ? WithoutCutCharacter(text) : text);
}

} // namespace vexo::playlists
