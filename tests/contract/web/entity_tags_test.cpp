#include "web/entity_tags.h"
#include <gtest/gtest.h>

namespace vexo::web {
namespace {

using Tags = std::vector<std::string>;

TEST(EntityTags, AreThoseOfTheList) {
  struct Row {
    const char *field;
    Tags strong;
  };
  for (const Row &row : {
           Row{"\"a\"", {"a"}},
           Row{"\"a\", \"b\"", {"a", "b"}},
           Row{"\"a\",\"b\"", {"a", "b"}},
           Row{" ,, \"a\"\t, ,", {"a"}},
           Row{"\"a,b\"", {"a,b"}},
           Row{"\"\"", {""}},
           Row{"\"*\"", {"*"}},
           Row{"\"\xC3\xA9!#~\"", {"\xC3\xA9!#~"}},
           Row{"", {}},
           Row{",", {}},
       }) {
    const std::optional<EntityTags> tags = ParseEntityTags(row.field);
    ASSERT_TRUE(tags) << row.field;
    EXPECT_EQ(tags->strong, row.strong) << row.field;
    EXPECT_FALSE(tags->any) << row.field;
  }
}

TEST(EntityTags, ThatAreWeakMatchNothing) {
  EXPECT_EQ(ParseEntityTags("W/\"a\"")->strong, Tags());
  EXPECT_EQ(ParseEntityTags("W/\"a\", \"b\"")->strong, Tags{"b"});
}

TEST(EntityTags, MayBeAny) {
  for (const char *field : {"*", " * ", "\t*"}) {
    EXPECT_TRUE(ParseEntityTags(field)->any) << field;
  }
}

TEST(EntityTags, OfAnotherFormAreNone) {
  for (const char *field :
       {"a", "\"a", "a\"", "\"a\" \"b\"", "\"a\"b", "'a'", "w/\"a\"", "W/", "W/a", "\"a b\"",
        "*, \"a\"", "\"a\", *", "\"a\x7F\"", "W / \"a\"", "**"}) {
    EXPECT_FALSE(ParseEntityTags(field)) << field;
  }
}

} // namespace
} // namespace vexo::web
