#include "text/search_folding.h"
#include "text/search_folding_table.h"
#include "text/utf8.h"
#include <gtest/gtest.h>

namespace vexo::text {
namespace {

TEST(FoldForSearch, LeavesWhatPeopleType) {
  struct Row {
    const char *what, *text, *folded;
  };
  const Row rows[] = {
      {"nothing", "", ""},
      {"letter case", "AbC Dé", "abc de"},
      {"accents, composed", "Dvo\u0159\u00E1k", "dvorak"},
      {"accents, apart", "Dvor\u030Ca\u0301k", "dvorak"},
      {"letters with a stroke", "\u00D8 \u0142\u0111", "o ld"},
      {"ligatures and sharp s", "\u00C6var Stra\u00DFe \uFB01n", "aevar strasse fin"},
      {"Greek and Cyrillic", "\u0386\u03C2 \u0401", "\u03B1\u03C3 \u0435"},
      {"full-width forms", "\uFF21\uFF22\uFF13", "ab3"},
      {"half-width kana as the wide ones", "\uFF76\uFF9E", "\u30AB\u3099"},
      {"voiced kana stay another letter", "\u304C", "\u304B\u3099"},
      {"Hangul, composed and apart", "\uD55C \u1112\u1161\u11AB", "\uD55C \uD55C"},
      {"Hangul without a final consonant", "\u1112\u1161", "\uD558"},
      {"typographic marks", "Rock \u2019n\u2019 \u201CRoll\u201D \u2013", "rock 'n' \"roll\" -"},
      {"white space of any kind", "\t a \u00A0\n\u3000b \x01 ", "a b"},
      {"zero-width marks",
       "a\u200B\uFEFF"
       "b\u00AD",
       "ab"},
      {"bytes that are not UTF-8",
       "a\xFF"
       "b",
       "a\uFFFD"
       "b"},
      {"beyond the first plane", "\U00010400\U0001F600", "\U00010428\U0001F600"},
      {"optional vowel signs", "\u05E9\u05B8 \u0628\u064E", "\u05E9 \u0628"},
  };
  for (const Row &row : rows) {
    EXPECT_EQ(FoldForSearch(row.text), row.folded) << row.what;
  }
}

TEST(FoldForSearch, FoldingTwiceIsFoldingOnce) {
  for (char32_t code = 1; code < 0x11000; ++code) {
    if (code >= 0xD800 && code < 0xE000) {
      continue;
    }
    std::string text = "x";
    AppendUtf8(text, code);
    text += "y";
    const std::string folded = FoldForSearch(text);
    ASSERT_EQ(FoldForSearch(folded), folded) << std::hex << static_cast<uint32_t>(code);
    ASSERT_TRUE(IsUtf8(folded));
  }
}

TEST(FoldForSearch, TheTableIsInOrder) {
  for (std::size_t i = 1; i < std::size(kFoldedCharacters); ++i) {
    ASSERT_LT(kFoldedCharacters[i - 1].code_point, kFoldedCharacters[i].code_point);
    ASSERT_LT(kFoldedCharacters[i].offset_bytes + kFoldedCharacters[i].size_bytes,
              static_cast<int>(sizeof kSearchFoldings));
  }
}

TEST(IsUnspacedScript, TellsScriptsWithoutSpaces) {
  for (const char32_t c : U"\u6771\u30AB\u304B\uD55C\u0E01") {
    EXPECT_EQ(IsUnspacedScript(c), c != 0);
  }
  for (const char32_t c : U"aZ \u00E9\u0416\u05E9") {
    EXPECT_FALSE(IsUnspacedScript(c));
  }
}

} // namespace
} // namespace vexo::text
