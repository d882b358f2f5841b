#include "text/numbers.h"
#include "text/text.h"
#include <gtest/gtest.h>

namespace vexo::text {
namespace {

using Pieces = std::vector<std::string>;

TEST(Split, MakesNoEmptyPieces) {
  struct Row {
    const char *what, *text, *separator;
    Pieces pieces;
  };
  const Row rows[] = {
      {"an empty text", "", ",", {}},
      {"no separator", "a", ",", {"a"}},
      {"three pieces", "a,b,c", ",", {"a", "b", "c"}},
      {"a separator at the start", ",a", ",", {"a"}},
      {"a separator at the end", "a,", ",", {"a"}},
      {"adjacent separators", "a,,b", ",", {"a", "b"}},
      {"only separators", ",,,", ",", {}},
      {"blanks are kept", " a , b ", ",", {" a ", " b "}},
      {"a long separator", "a--b-c--", "--", {"a", "b-c"}},
      {"half a separator stays", "a-", "--", {"a-"}},
  };
  for (const Row &row : rows) {
    EXPECT_EQ(Split(row.text, row.separator), row.pieces) << row.what;
  }
}

TEST(Trim, TakesBlanksTabsAndLineEndsOffBothEnds) {
  const std::pair<const char *, const char *> rows[] = {
      {"", ""},
      {"a", "a"},
      {" a", "a"},
      {"a\r\n", "a"},
      {"\t a b \n", "a b"},
      {" \t\r\n", ""},
      {"\va\v", "\va\v"},
      {"\xC2\xA0", "\xC2\xA0"},
  };
  for (const auto &[text, trimmed] : rows) {
    EXPECT_EQ(Trim(text), trimmed);
  }
}

TEST(EqualInConstantTime, ComparesAllBytes) {
  EXPECT_TRUE(EqualInConstantTime("", ""));
  EXPECT_TRUE(EqualInConstantTime("a\xFF", "a\xFF"));
  EXPECT_FALSE(EqualInConstantTime("abc", "abd"));
  EXPECT_FALSE(EqualInConstantTime("abc", "bbc"));
  EXPECT_FALSE(EqualInConstantTime("abc", "abcd"));
  EXPECT_FALSE(EqualInConstantTime("", "a"));
}

TEST(EscapeHtml, EscapesTheFiveCharactersWithMeaning) {
  EXPECT_EQ(EscapeHtml("a & b < c > d \" e ' f"), "a &amp; b &lt; c &gt; d &quot; e &#39; f");
}

TEST(EscapeHtml, LeavesEverythingElse) {
  const std::string text = "\xC3\xA9 \n\t;#/\\=\xFF";
  EXPECT_EQ(EscapeHtml(text), text);
}

TEST(EscapeHtml, EscapesWhatIsEscapedOnceMore) { EXPECT_EQ(EscapeHtml("&amp;"), "&amp;amp;"); }

TEST(ParseInteger, TakesWholeDecimalNumbers) {
  EXPECT_EQ(ParseInteger("0"), 0);
  EXPECT_EQ(ParseInteger("-12"), -12);
  EXPECT_EQ(ParseInteger("007"), 7);
  EXPECT_EQ(ParseInteger("9223372036854775807"), INT64_MAX);
  EXPECT_EQ(ParseInteger("-9223372036854775808"), INT64_MIN);
}

TEST(ParseInteger, RefusesAnythingElse) {
  for (const char *text : {"", " 1", "1 ", "+1", "1a", "a", "1.0", "0x10", "-", "--1",
                           "9223372036854775808", "99999999999999999999999"}) {
    EXPECT_FALSE(ParseInteger(text)) << "'" << text << "'";
  }
}

} // namespace
} // namespace vexo::text
