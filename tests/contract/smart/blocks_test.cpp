#include "smart/block_scanner.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace vexo::smart {
namespace {

/// The texts of all blocks of a file.
std::vector<std::string> Blocks(const std::string &file) {
  std::vector<std::string> blocks;
  BlockScanner scanner(file);
  while (const std::optional<Block> block = scanner.Next()) {
    blocks.emplace_back(BlockText(file, *block));
  }
  return blocks;
}

std::optional<std::string> FirstStray(const std::string &file) {
  BlockScanner scanner(file);
  while (scanner.Next()) {
  }
  const std::optional<std::size_t> stray = scanner.first_stray();
  return stray ? std::optional(LineAndColumn(file, *stray)) : std::nullopt;
}

struct FileOfBlocks {
  const char *description;
  std::string file;
  std::vector<std::string> blocks;
};

const std::string kGood = "\"Good\" { year = 1 }";

const FileOfBlocks kFiles[] = {
    {"nothing", "", {}},
    {"only a comment", "# \"A\" { year = 1 }", {}},
    {"one", kGood, {kGood}},
    {"two on a line", "\"A\" {year=1}\"B\"{year=2}", {"\"A\" {year=1}", "\"B\"{year=2}"}},
    {"a byte order mark", "\xEF\xBB\xBF" + kGood, {kGood}},
    {"comments around", "# a {\n" + kGood + " # }\n", {kGood}},
    {"a comment between name and brace", "\"A\" # {\n {year=1}", {"\"A\" # {\n {year=1}"}},
    {"braces and quotes in strings",
     R"("A}\"{" { title is "}{" })",
     {R"("A}\"{" { title is "}{" })"}},
    {"nonsense in a block", "\"Bad\" { = = ; \xff }\n" + kGood, {"\"Bad\" { = = ; \xff }", kGood}},
    {"an empty block", "\"Bad\" {}\n" + kGood, {"\"Bad\" {}", kGood}},
    {"an open string in a block",
     "\"Bad\" { title is \"x }\n" + kGood,
     {"\"Bad\" { title is \"x }", kGood}},
    {"an open string, the brace on its own line",
     "\"Bad\" { title is \"x\n}\n" + kGood,
     {"\"Bad\" { title is \"x\n}", kGood}},
    {"no closing brace", "\"Bad\" { year = 1 # c\n\n" + kGood, {"\"Bad\" { year = 1", kGood}},
    {"no closing brace at the end",
     kGood + "\n\"Bad\" { year = 1  \n",
     {kGood, "\"Bad\" { year = 1"}},
    {"no closing brace, nothing inside", "\"Bad\" {\n" + kGood, {"\"Bad\" {", kGood}},
    {"no opening brace", "\"Bad\" year = 1 }\n" + kGood, {kGood}},
    {"a brace too many", "\"Bad\" { { year = 1 } }\n" + kGood, {"\"Bad\" { { year = 1 }", kGood}},
    {"a string before a brace inside a block",
     "\"Bad\" { title is \"x\" { } }\n" + kGood,
     {"\"Bad\" { title is \"x\" { }", kGood}},
    {"text outside of blocks", "jazz\n" + kGood + " more ) \"x\"\n", {kGood}},
    {"an open string outside", "\"jazz {}\n" + kGood, {kGood}},
    {"an open string at the end", kGood + "\n\"", {kGood}},
    {"an open string with a backslash at the end", kGood + "\n\"\\", {kGood}},
    {"a backslash before the line break", "\"a\\\n" + kGood, {kGood}},
    {"a NUL byte", std::string("\0", 1) + kGood, {kGood}},
    {"lines of another system",
     "\"A\" {\r\n year = 1\r\n}\r\n" + kGood,
     {"\"A\" {\r\n year = 1\r\n}", kGood}},
};

TEST(BlockScanner, FindsThePlaylistsAroundWhatIsBroken) {
  for (const FileOfBlocks &row : kFiles) {
    EXPECT_EQ(Blocks(row.file), row.blocks) << row.description;
  }
}

TEST(BlockScanner, TellsWhereTextBelongsToNoPlaylist) {
  EXPECT_EQ(FirstStray(kGood + "\n# c\n" + kGood), std::nullopt);
  EXPECT_EQ(FirstStray(kGood + "\n  } x\n"), "2:3");
}

TEST(FindBlock, ComparesNamesExactly) {
  const std::string file = "\"Jazz\" {year=1} \"jazz\" {year=2} \"Jazz \" {year=3}";
  EXPECT_EQ(BlockText(file, *FindBlock(file, "Jazz")), "\"Jazz\" {year=1}");
  EXPECT_EQ(BlockText(file, *FindBlock(file, "jazz")), "\"jazz\" {year=2}");
  EXPECT_EQ(BlockText(file, *FindBlock(file, "Jazz ")), "\"Jazz \" {year=3}");
  EXPECT_FALSE(FindBlock(file, "JAZZ"));
  EXPECT_FALSE(FindBlock(file, ""));
  EXPECT_FALSE(FindBlock(file, "Jaz"));
}

TEST(FindBlock, GivesTheFirstOfANameThatStandsTwice) {
  const std::string file = "\"A\" {year=1} \"A\" {year=2}";
  EXPECT_EQ(FindBlock(file, "A")->begin, 0U);
}

TEST(FindBlock, ReadsEscapesInNames) {
  const std::string file = R"("a\"b\\c" { year = 1 })";
  EXPECT_TRUE(FindBlock(file, R"(a"b\c)"));
  EXPECT_FALSE(FindBlock(file, R"(a\"b\\c)"));
}

TEST(FindBlock, ANameOfEscapesOnlyIsFound) { EXPECT_TRUE(FindBlock(R"("\"\\" {})", R"("\)")); }

TEST(FindBlock, FindsNoNameThatIsNoProperString) {
  EXPECT_FALSE(FindBlock("\"a\\n\" {year=1}", "a\\n"));
  EXPECT_FALSE(FindBlock("\"\xff\" {year=1}", "\xff"));
}

TEST(BlockScanner, PassesOverALargeFileInOnePass) {
  std::string file;
  while (file.size() < (std::size_t{16} << 20)) {
    file += "\"x\" \"y\" { title is \"\\\\\" ( \"z\n";
  }
  EXPECT_FALSE(FindBlock(file, "absent"));
}

} // namespace
} // namespace vexo::smart
