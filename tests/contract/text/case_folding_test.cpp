#include "text/case_folding.h"
#include "text/case_folding_table.h"
#include "text/utf8.h"
#include <gtest/gtest.h>

namespace vexo::text {
namespace {

TEST(FoldCase, FoldsLettersOfEveryScript) {
  struct Row {
    const char *what, *text, *folded;
  };
  const Row rows[] = {
      {"nothing", "", ""},
      {"ASCII", "AZaz@[`{09", "azaz@[`{09"},
      {"Latin-1", "\u00C0\u00D6\u00D7\u00D8\u00DE", "\u00E0\u00F6\u00D7\u00F8\u00FE"},
      {"every second letter", "\u0100\u0101\u0136\u0137", "\u0101\u0101\u0137\u0137"},
      {"capital sharp s, a simple folding", "\u1E9E", "\u00DF"},
      {"small sharp s has only a full folding", "\u00DF", "\u00DF"},
      {"Turkish dotted I has no simple folding", "\u0130", "\u0130"},
      {"dotless i", "\u0131", "\u0131"},
      {"micro sign", "\u00B5", "\u03BC"},
      {"final sigma", "\u03A3\u03C2", "\u03C3\u03C3"},
      {"long s", "\u017F", "s"},
      {"Kelvin sign", "\u212A", "k"},
      {"Cyrillic", "\u0410\u042F\u0401", "\u0430\u044F\u0451"},
      {"Cherokee folds to capitals", "\uAB70\u13F8", "\u13A0\u13F0"},
      {"Armenian", "\u0531", "\u0561"},
      {"beyond the first plane", "\U00010400\U0001E900", "\U00010428\U0001E922"},
      {"no letters", "\u3042\u4E2D\U0001F600", "\u3042\u4E2D\U0001F600"},
  };
  for (const Row &row : rows) {
    EXPECT_EQ(FoldCase(row.text), row.folded) << row.what;
  }
}

TEST(FoldCase, LeavesBytesThatAreNotUtf8) {
  EXPECT_EQ(FoldCase("A\xFF"
                     "B\xC3"),
            "a\xFF"
            "b\xC3");
}

TEST(FoldCase, FoldsATextThatIsFoldedToItself) {
  for (char32_t code_point = 0x80; code_point < 0x20000; ++code_point) {
    if (code_point == 0xD800) {
      code_point = 0xE000;
    }
    std::string text;
    AppendUtf8(text, code_point);
    const std::string once = FoldCase(text);
    ASSERT_EQ(FoldCase(once), once) << "U+" << std::hex << static_cast<uint32_t>(code_point);
  }
}

TEST(FoldingRanges, AreInOrderAndDoNotOverlap) {
  uint32_t last = 0;
  for (const FoldingRange &range : kFoldingRanges) {
    EXPECT_GT(range.first, last);
    EXPECT_GE(range.last, range.first);
    EXPECT_GE(range.step, 1U);
    last = range.last;
  }
}

} // namespace
} // namespace vexo::text
