// Rules as clients read and write them.
#include "catalog/smart_lists.h"
#include "smart/block_scanner.h"
#include <gtest/gtest.h>

namespace vexo::catalog {
namespace {

TEST(Rule, IsGivenBackToTheByte) {
  for (const std::string rule :
       {"", "\n", "year > 1", " year > 1 ", "\nyear > 1\n", "year > 1 # why", "year > 1\r",
        "# only\n  year > 1\n\n", "title is \"}\"", "title is \"\xC3\xA4\""}) {
    const std::string block = BlockOf("A \"name\" {", rule);
    EXPECT_EQ(RuleText(block), rule);
    const auto found = smart::FindBlock(block, "A \"name\" {");
    ASSERT_TRUE(found) << rule;
    EXPECT_EQ(found->end, block.size()) << rule;
  }
}

TEST(Rule, OfABlockThatPeopleWroteIsWhatStandsInTheBraces) {
  EXPECT_EQ(RuleText("\"a\" { year > 1 }"), " year > 1 ");
  EXPECT_EQ(RuleText("\"a\" # why\n{\n  year > 1\n}"), "  year > 1");
  EXPECT_EQ(RuleText("\"a\" {"), "");
  EXPECT_EQ(RuleText("\"a\" {}"), "");
  EXPECT_EQ(RuleText("\"a\" { year >"), " year >");
}

TEST(Rule, ThatCannotBeReadTellsWhere) {
  struct Row {
    const char *rule;
    std::size_t line, column;
  };
  for (const Row &row :
       {Row{"", 1, 1}, Row{"colour is \"red\"", 1, 1}, Row{"year > 1\n  and year ! 3", 2, 14},
        Row{"year > 1 } \"b\" { year > 2", 1, 12}, Row{"title is \"\xC3\xA4\" x", 1, 14},
        Row{"title is \"open", 1, 10}}) {
    const auto parsed = ParseRule(row.rule);
    const auto *error = std::get_if<RuleError>(&parsed);
    ASSERT_NE(error, nullptr) << row.rule;
    EXPECT_EQ(error->line, row.line) << row.rule << ": " << error->what;
    EXPECT_EQ(error->column, row.column) << row.rule << ": " << error->what;
  }
  EXPECT_TRUE(std::holds_alternative<smart::SmartPlaylist>(ParseRule("year > 1 # why")));
}

} // namespace
} // namespace vexo::catalog
