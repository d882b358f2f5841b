#include "vexo/web.h"
#include <gtest/gtest.h>

namespace {

using Pieces = std::vector<std::string>;

TEST(StringExplode, MakesNoEmptyElements) {
  EXPECT_EQ(WebUtils::StringExplode("", ","), Pieces{});
  EXPECT_EQ(WebUtils::StringExplode("a", ","), Pieces{"a"});
  EXPECT_EQ(WebUtils::StringExplode(",a,,b,", ","), (Pieces{"a", "b"}));
  EXPECT_EQ(WebUtils::StringExplode("a::b", "::"), (Pieces{"a", "b"}));
}

TEST(StringExplode, LeavesATextWholeWithoutASeparator) {
  EXPECT_EQ(WebUtils::StringExplode("a,b", ""), Pieces{"a,b"});
  EXPECT_EQ(WebUtils::StringExplode("", ""), Pieces{});
}

TEST(EncodeHtml, EscapesTheFiveCharactersWithMeaning) {
  EXPECT_EQ(WebUtils::EncodeHtml("<a href='x'>\"R&B\"</a>", false),
            "&lt;a href=&#39;x&#39;&gt;&quot;R&amp;B&quot;&lt;/a&gt;");
}

TEST(EncodeHtml, LeavesBlanksUnlessTheyAreToBeKeptApart) {
  EXPECT_EQ(WebUtils::EncodeHtml("a  b", false), "a  b");
  EXPECT_EQ(WebUtils::EncodeHtml("a  b", true), "a&nbsp;&nbsp;b");
}

} // namespace
