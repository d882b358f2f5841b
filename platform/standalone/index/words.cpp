#include "index/words.h"

#include "text/search_folding.h"
#include "text/text.h"
#include "text/utf8.h"
#include <algorithm>

namespace vexo::index {
namespace {

/// Folded texts hold no control characters.
constexpr std::string_view kMarks = "\x01\x01";

bool IsOfWord(char32_t c) { return c >= 0x80 || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9'); }

/// Whether a word of a question can go on from one character to the next with marks between them.
bool IsMarkedWithin(char32_t last, char32_t next) {
  return text::IsUnspacedScript(next) || (IsOfWord(next) && !IsOfWord(last));
}

/// The folded text with marks in the place of spaces, in pieces. Where a word of a question could
/// lead across a space, for all that the marks tell, there is no new piece.
std::vector<std::string> MarkPieces(std::string_view folded) {
  std::vector<std::string> pieces(1);
  char32_t last = ' ';
  bool behind_space = true;
  while (!folded.empty()) {
    const text::Utf8Character c = text::DecodeUtf8(folded);
    const std::string_view bytes = folded.substr(0, c.length_bytes);
    folded.remove_prefix(c.length_bytes);
    if (c.code_point == ' ') {
      behind_space = true;
      continue;
    }
    const bool is_within = IsMarkedWithin(last, c.code_point);
    if (behind_space && !is_within && !pieces.back().empty()) {
      pieces.emplace_back();
    }
    pieces.back() += behind_space || is_within ? kMarks : "";
    pieces.back() += bytes;
    last = c.code_point;
    behind_space = false;
  }
  return pieces;
}

std::string MarkWords(std::string_view folded) {
  std::string marked;
  for (const std::string &piece : MarkPieces(folded)) {
    marked += piece;
  }
  return marked;
}

} // namespace

std::vector<std::string> FoldedWords(const std::string &words) {
  return text::Split(text::FoldForSearch(words), " ");
}

std::string MarkedText(std::string_view text) { return MarkWords(text::FoldForSearch(text)); }

std::vector<std::string> MarkedPieces(std::string_view text) {
  std::vector<std::string> pieces = MarkPieces(text::FoldForSearch(text));
  std::sort(pieces.begin(), pieces.end());
  pieces.erase(std::unique(pieces.begin(), pieces.end()), pieces.end());
  std::erase(pieces, "");
  return pieces;
}

std::string MarkedWord(const std::string &word) {
  std::string marked = MarkWords(word);
  const std::string inner = marked.substr(std::min(kMarks.size(), marked.size()));
  const bool anywhere = !text::IsUnspacedScript(text::DecodeUtf8(word).code_point);
  return anywhere && HasTrigram(inner) ? inner : marked;
}

bool HasTrigram(const std::string &folded) {
  const auto begins_character = [](char c) {
    return (static_cast<unsigned char>(c) & 0xc0) != 0x80;
  };
  return text::IsUtf8(folded) && std::count_if(folded.begin(), folded.end(), begins_character) >= 3;
}

} // namespace vexo::index
