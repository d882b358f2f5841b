#include "smart/rule_edits.h"

#include "smart/block_scanner.h"
#include <gtest/gtest.h>
#include <stdexcept>
#include <string>

namespace vexo::smart {
namespace {

const std::string kBefore = "\xEF\xBB\xBF# Räume \"not a playlist\" {\r\n"
                            "\t\"Broken\"   { artist = = \"\xff }\n"
                            "stray ) text \n\n";
const std::string kBlock = "\"Road\"  {  # long drives\n  year>1970   AND not rating<3\n\t}";
const std::string kAfter =
    "  # behind it\n\n\n\"Other\" {\r\n\tGENRE is \"x\"\r\n} \"Third\" {year=1}"
    "\n# the end, without a line break";

TEST(RuleEdits, ReplacingKeepsEveryOtherByte) {
  EXPECT_EQ(ReplaceBlock(kBefore + kBlock + kAfter, "Road", "\"Road\" { year = 2 }"),
            kBefore + "\"Road\" { year = 2 }" + kAfter);
}

TEST(RuleEdits, RemovingKeepsEveryOtherByte) {
  EXPECT_EQ(RemoveBlocks(kBefore + kBlock + kAfter, {"Road"}), kBefore + kAfter);
}

TEST(RuleEdits, AppendingKeepsEveryByte) {
  const std::string file = kBefore + kBlock + kAfter;
  EXPECT_EQ(AppendBlock(file, "\"New\" {year=1}"), file + "\n\"New\" {year=1}\n");
  EXPECT_EQ(AppendBlock("# x\n", "\"New\" {year=1}"), "# x\n\"New\" {year=1}\n");
  EXPECT_EQ(AppendBlock("", "\"New\" {year=1}"), "\"New\" {year=1}\n");
}

TEST(RuleEdits, AnAppendedPlaylistIsFoundBehindAnyEnd) {
  for (const char *end : {"\"A\"", "\"A\" {", "\"A\" { title is", "\"A\" { title is \"x", "\"x\\",
                          "#", "}", "\"A\" {year=1}", "\r", "\"A\" { title is \"x\""}) {
    const std::string changed = AppendBlock(end, "\"New\" {year=1}");
    const std::optional<Block> block = FindBlock(changed, "New");
    ASSERT_TRUE(block) << end;
    EXPECT_EQ(BlockText(changed, *block), "\"New\" {year=1}") << end;
  }
}

TEST(RuleEdits, ABrokenPlaylistCanBeReplacedAndRemoved) {
  const std::string file = "\"Bad\" { title is \"x }\n\"Good\" { year = 1 }\n";
  EXPECT_EQ(ReplaceBlock(file, "Bad", "\"Bad\" {year=2}"),
            "\"Bad\" {year=2}\n\"Good\" { year = 1 }\n");
  EXPECT_EQ(RemoveBlocks(file, {"Bad"}), "\n\"Good\" { year = 1 }\n");
}

TEST(RuleEdits, SeveralNamesAreRemovedInOneEdit) {
  const std::string file = "\"A\" {year=1}\n\"B\" {year=2}\n#c\n\"C\" {year=3}\n";
  EXPECT_EQ(RemoveBlocks(file, {"C", "absent", "A", "A"}), "\n\"B\" {year=2}\n#c\n\n");
}

TEST(RuleEdits, AllPlaylistsOfARemovedNameGo) {
  EXPECT_EQ(RemoveBlocks("\"A\" {year=1} \"A\" {year=2}", {"A"}), " ");
}

TEST(RuleEdits, ReplacingTakesTheFirstOfAName) {
  EXPECT_EQ(ReplaceBlock("\"A\" {year=1} \"A\" {year=2}", "A", "\"A\" {year=3}"),
            "\"A\" {year=3} \"A\" {year=2}");
}

TEST(RuleEdits, ANameThatIsNotThereChangesNothing) {
  EXPECT_EQ(ReplaceBlock(kBefore, "Road", "\"Road\" {year=1}"), std::nullopt);
  EXPECT_EQ(RemoveBlocks(kBefore, {"Road"}), std::nullopt);
  EXPECT_EQ(RemoveBlocks(kBefore, {}), std::nullopt);
  EXPECT_EQ(RemoveBlocks("", {"Road"}), std::nullopt);
}

TEST(RuleEdits, ANameInACommentOrAStringIsNoPlaylist) {
  const std::string file = "# \"A\" {year=1}\n\"B\" { title is \"\\\"A\\\" {year=1}\" }";
  EXPECT_EQ(RemoveBlocks(file, {"A"}), std::nullopt);
}

TEST(RuleEdits, ARemovalThatWouldMakeAPlaylistOfItsSurroundingsIsRefused) {
  EXPECT_THROW(RemoveBlocks("\"x\" \"A\" {year=1} {year=2}", {"A"}), std::runtime_error);
  EXPECT_THROW(RemoveBlocks("\"A\" \"A\" {year=1} {year=2}", {"A"}), std::runtime_error);
}

TEST(RenameBlock, KeepsTheRulesAsTheyAreWritten) {
  EXPECT_EQ(RenameBlock(kBlock, "Sea \"and\" \\ sky"),
            "\"Sea \\\"and\\\" \\\\ sky\"" + kBlock.substr(6));
}

TEST(RenameBlock, RefusesANameThatNoStringCanHold) {
  for (const char *name : {"", "a\nb", "a\rb", "\xff", "\xc0\x80", "a\xe2\x82"}) {
    EXPECT_THROW(RenameBlock(kBlock, name), std::invalid_argument) << name;
  }
}

} // namespace
} // namespace vexo::smart
