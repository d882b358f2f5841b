#include "text/search_folding.h"
#include "text/search_folding_table.h"
#include "text/utf8.h"

#include <algorithm>
#include <iterator>
#include <optional>

namespace vexo::text {
namespace {

// Hangul syllables by arithmetic (The Unicode Standard, section 3.12).
constexpr char32_t kSyllables = 0xAC00, kLeading = 0x1100, kVowels = 0x1161, kTrailing = 0x11A7;
constexpr char32_t kLeadingCount = 19, kVowelCount = 21, kTrailingCount = 28;
constexpr char32_t kSyllableCount = kLeadingCount * kVowelCount * kTrailingCount;

/// The syllable that two characters of decomposed Hangul make; nothing when they make none.
std::optional<char32_t> ComposeHangul(char32_t first, char32_t second) {
  if (first - kLeading < kLeadingCount && second - kVowels < kVowelCount) {
    return kSyllables + ((first - kLeading) * kVowelCount + (second - kVowels)) * kTrailingCount;
  }
  const bool open =
      first - kSyllables < kSyllableCount && (first - kSyllables) % kTrailingCount == 0;
  if (open && second - kTrailing - 1 < kTrailingCount - 1) {
    return first + (second - kTrailing);
  }
  return std::nullopt;
}

/// The folding of a character beyond ASCII; nothing: it is its own.
std::optional<std::string_view> Folding(char32_t code_point) {
  const auto *const end = std::end(kFoldedCharacters);
  const auto *const found = std::lower_bound(
      std::begin(kFoldedCharacters), end, code_point,
      [](const SearchFolding &left, char32_t right) { return left.code_point < right; });
  if (found == end || found->code_point != code_point) {
    return std::nullopt;
  }
  return std::string_view(kSearchFoldings + found->offset_bytes, found->size_bytes);
}

/// Takes characters one after the other and makes the folded text of them.
class Folder {
public:
  explicit Folder(std::size_t size) { folded_.reserve(size); }

  void AddAscii(char c) {
    last_ = 0;
    if (c > ' ' && c != '\x7f') {
      Begin();
      folded_ += c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    } else {
      space_ = true;
    }
  }

  void Add(char32_t code_point) {
    const std::optional<std::string_view> folding = Folding(code_point);
    if (!folding) {
      AddAsIs(code_point);
    } else if (*folding == " ") {
      space_ = true;
    } else {
      AddFolding(*folding);
    }
  }

  std::string Take() { return std::move(folded_); }

private:
  void Begin() {
    if (space_ && !folded_.empty()) {
      folded_ += ' ';
    }
    space_ = false;
  }

  void AddFolding(std::string_view folding) {
    if (!folding.empty()) {
      Begin();
      folded_ += folding;
      last_ = 0;
    }
  }

  void AddAsIs(char32_t code_point) {
    Begin();
    const std::optional<char32_t> composed = ComposeHangul(last_, code_point);
    if (composed) {
      constexpr std::size_t kUtf8Bytes = 3; // of Hangul, composed or not
      folded_.resize(folded_.size() - kUtf8Bytes);
    }
    last_ = composed.value_or(code_point);
    AppendUtf8(folded_, last_);
  }

  std::string folded_;
  bool space_ = false; ///< one is due before the next character
  char32_t last_ = 0;  ///< the last one when it may be a part of a Hangul syllable
};

} // namespace

std::string FoldForSearch(std::string_view text) {
  constexpr char32_t kReplacement = 0xFFFD;
  Folder folder(text.size());
  for (std::size_t position = 0; position < text.size();) {
    if (static_cast<unsigned char>(text[position]) < 0x80) {
      folder.AddAscii(text[position++]);
      continue;
    }
    const Utf8Character character = DecodeUtf8(text.substr(position));
    folder.Add(character.length_bytes == 0 ? kReplacement : character.code_point);
    position += std::max<std::size_t>(1, character.length_bytes);
  }
  return folder.Take();
}

bool IsUnspacedScript(char32_t code_point) {
  struct Range {
    char32_t first, last;
  };
  constexpr Range kRanges[] = {
      {0x0E00, 0x0EFF}, {0x1100, 0x11FF}, {0x2E80, 0x2FFF}, {0x3005, 0x3007}, {0x3040, 0x31FF},
      {0x3400, 0x4DBF}, {0x4E00, 0x9FFF}, {0xAC00, 0xD7AF}, {0xF900, 0xFAFF}, {0x20000, 0x3FFFF}};
  return std::any_of(std::begin(kRanges), std::end(kRanges), [&](const Range &range) {
    return code_point >= range.first && code_point <= range.last;
  });
}

} // namespace vexo::text
