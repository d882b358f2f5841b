#pragma once
// Search by words, whatever their accents.
//
// Trigram indexes hold folded texts with two marks before each beginning of a word. So a word of
// one or two letters, which has no trigram, has one with its marks, and is found where words begin;
// a longer one is found anywhere. In scripts without spaces each character counts as a beginning.

#include <array>
#include <string>
#include <string_view>
#include <vector>

namespace vexo::index {

/// The columns of songs that keywords are searched for in.
inline constexpr std::array kSearchedColumns = {"title", "artist", "album", "genre"};

/// The words of a question, folded.
std::vector<std::string> FoldedWords(const std::string &words);

/// The text, folded, with marks in the place of spaces.
std::string MarkedText(std::string_view text);

/// The marked text in pieces, each once: what is found in the whole is found in one of them.
std::vector<std::string> MarkedPieces(std::string_view text);

/// What to search marked texts for that may hold a folded word.
std::string MarkedWord(const std::string &word);

/// Whether a trigram index can find the folded text: it knows nothing shorter than three
/// characters.
bool HasTrigram(const std::string &folded);

} // namespace vexo::index
