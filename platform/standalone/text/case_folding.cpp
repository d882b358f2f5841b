#include "text/case_folding.h"
#include "text/case_folding_table.h"
#include "text/utf8.h"
#include <algorithm>
#include <iterator>

namespace vexo::text {
namespace {

char32_t FoldCodePoint(char32_t code_point) {
  const auto *const end = std::end(kFoldingRanges);
  const auto *const range =
      std::lower_bound(std::begin(kFoldingRanges), end, code_point,
                       [](const FoldingRange &left, char32_t right) { return left.last < right; });
  if (range == end || code_point < range->first || (code_point - range->first) % range->step != 0) {
    return code_point;
  }
  return static_cast<char32_t>(static_cast<int64_t>(code_point) + range->distance);
}

char FoldAscii(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

/// Folds the character that `text` begins with into `folded` and gives its length.
std::size_t FoldFirst(std::string_view text, std::string &folded) {
  const Utf8Character character = DecodeUtf8(text);
  if (character.length_bytes == 0) {
    folded += text.front();
    return 1;
  }
  AppendUtf8(folded, FoldCodePoint(character.code_point));
  return character.length_bytes;
}

} // namespace

std::string FoldCase(std::string_view text) {
  std::string folded;
  folded.reserve(text.size());
  for (std::size_t position = 0; position < text.size();) {
    if (static_cast<unsigned char>(text[position]) < 0x80) {
      folded += FoldAscii(text[position++]);
    } else {
      position += FoldFirst(text.substr(position), folded);
    }
  }
  return folded;
}

} // namespace vexo::text
