#include "web/header_value.h"
#include <gtest/gtest.h>

namespace vexo::web {
namespace {

std::string Shown(std::string_view field) {
  const std::optional<HeaderValue> value = ParseHeaderValue(field);
  if (!value) {
    return "none";
  }
  std::string shown = value->text;
  for (const auto &[name, attribute] : value->attributes) {
    shown.append("|").append(name).append("=").append(attribute);
  }
  return shown;
}

TEST(ParseHeaderValue, ReadsTextAndAttributes) {
  const std::pair<const char *, const char *> rows[] = {
      {"", ""},
      {"text/plain", "text/plain"},
      {" Text/PLAIN ; Charset=UTF-8", "text/plain|charset=UTF-8"},
      {"a;b=c;d=e", "a|b=c|d=e"},
      {"a; b=\"c;d\"; e=f", "a|b=c;d|e=f"},
      {"a; b=\"\\\"\\\\x\"", "a|b=\"\\x"},
      {"a; b=", "a|b="},
      {"a; b=\"\"", "a|b="},
      {"a;", "a"},
      {"a;;b=c;", "a|b=c"},
      {"a; b = c ", "a|b=c"},
  };
  for (const auto &[field, shown] : rows) {
    EXPECT_EQ(Shown(field), shown) << field;
  }
}

TEST(ParseHeaderValue, RefusesWhatIsNotOfTheForm) {
  for (const char *field : {"a; b", "a; b=\"c", "a; b=\"c\\", "a; b=\"c\"d"}) {
    EXPECT_EQ(Shown(field), "none") << field;
  }
}

TEST(HeaderValue, GivesTheFirstAttributeOfAName) {
  const HeaderValue value = *ParseHeaderValue("a; b=1; b=2");
  EXPECT_EQ(*value.Attribute("b"), "1");
  EXPECT_EQ(value.Attribute("c"), nullptr);
}

TEST(EqualsIgnoringCase, ComparesWholeTexts) {
  EXPECT_TRUE(EqualsIgnoringCase("", ""));
  EXPECT_TRUE(EqualsIgnoringCase("aBc[", "AbC["));
  EXPECT_FALSE(EqualsIgnoringCase("a", "ab"));
  EXPECT_FALSE(EqualsIgnoringCase("[", "{"));
}

} // namespace
} // namespace vexo::web
