#pragma once
// UTF-8, byte by byte (RFC 3629).

#include <cstddef>
#include <string>
#include <string_view>

namespace vexo::text {

/// One character at the start of a text, or what stands there instead.
struct Utf8Character {
  char32_t code_point = 0;
  std::size_t length_bytes = 0; ///< 0: no well-formed character stands there
};

/// The character that `text` (not empty) begins with. Overlong forms, surrogates and what lies
/// beyond U+10FFFF are not well-formed.
Utf8Character DecodeUtf8(std::string_view text);

/// Whether `bytes` is well-formed UTF-8.
bool IsUtf8(std::string_view bytes);

/// Appends the UTF-8 form of a code point.
void AppendUtf8(std::string &text, char32_t code_point);

/// `bytes` with U+FFFD in the place of every byte that belongs to no well-formed character.
std::string ToValidUtf8(std::string bytes);

} // namespace vexo::text
