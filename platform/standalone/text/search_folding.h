#pragma once
#include <string>
#include <string_view>

namespace vexo::text {

/// What texts are found and sorted by: without differences of letter case, accents, compatibility
/// forms and typographic marks, so that "Ævar" is "aevar" and "Dvořák" is "dvorak", however they
/// were composed. White space and control characters become single spaces, none at the ends. Always
/// UTF-8, with U+FFFD for bytes that are none. Folding twice is folding once.
std::string FoldForSearch(std::string_view text);

/// Whether the character is of a script that is written without spaces, so that a word may begin at
/// any character: Han, kana, Hangul, Thai, Lao.
bool IsUnspacedScript(char32_t code_point);

} // namespace vexo::text
