#include "model/parse_json.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <random>
#include <string>
#include <sys/resource.h>

namespace {

/// Compact JSON of what the text holds, "refused" when it is not accepted.
std::string Parsed(const std::string &text) {
  Json::Value value;
  if (!ParseJson(text, value)) {
    return "refused";
  }
  Json::StreamWriterBuilder builder;
  builder["indentation"] = "";
  return Json::writeString(builder, value);
}

TEST(ParseJson, AcceptsCommentsWhereTheParserDoes) {
  const struct {
    const char *description;
    const char *text;
    const char *parsed;
  } rows[] = {
      {"before the document", "/* a */ [1]", "[1]"},
      {"behind the document", "[1] /* a */ // b", "[1]"},
      {"before an element", "[/* a */ 1, // b\n 2]", "[1,2]"},
      {"behind an element", "[1 /* a */, 2 // b\n]", "[1,2]"},
      {"around a member", "{/* a */ \"a\": /* b */ 1 /* c */}", "{\"a\":1}"},
      {"many", "[1/**//**//**/]", "[1]"},
      {"over several lines", "[1 /* a\n b\r\n */]", "[1]"},
      {"in an empty array", "[/* a */]", "refused"},
      {"behind a member's name", "{\"a\" /* a */: 1}", "refused"},
      {"without an end", "[1 /* a ]", "refused"},
      {"a single slash", "[1 / 2]", "refused"},
      {"in a text", "[\"/* a */\"]", "[\"/* a */\"]"},
  };
  for (const auto &row : rows) {
    EXPECT_EQ(Parsed(row.text), row.parsed) << row.description;
  }
}

TEST(ParseJson, RefusesWhatIsNestedTooDeep) {
  const std::string deep = std::string(1001, '[') + std::string(1001, ']');
  EXPECT_EQ(Parsed(deep), "refused");
  EXPECT_NE(Parsed(deep.substr(1, 2000)), "refused");
}

TEST(ParseJson, AcceptsWhatTheParserAcceptsWhenItCollectsComments) {
  const char *const pieces[] = {"[",  "]",    "{",       "}",      ",",        ":",    "\"a\"",
                                "1",  "-1.5", "true",    "/**/",   "/* x\n*/", "//\n", "//",
                                "/*", "*/",   "/",       "\n",     "\r\n",     " ",    "\"",
                                "\\", "[1,",  "\"a\":1", "\"a\":", "null",     "],[",  "/*/"};
  std::minstd_rand random(8);
  std::uniform_int_distribution<std::size_t> piece(0, std::size(pieces) - 1);
  int accepted = 0;
  for (int i = 0; i < 20'000; ++i) {
    std::string text = "[";
    for (int length = i % 7; length >= 0; --length) {
      text += pieces[piece(random)];
    }
    text += "]";
    Json::Value with_comments;
    Json::Value value;
    const bool expected = Json::Reader().parse(text, with_comments, true);
    ASSERT_EQ(ParseJson(text, value), expected) << text;
    ASSERT_EQ(value, with_comments) << text;
    accepted += expected ? 1 : 0;
  }
  EXPECT_GT(accepted, 1000);
}

/// Ends the process with 0 if it accepts the text; by a signal if it takes more than 5 s of CPU.
[[noreturn]] void ParseInBoundedTime(const std::string &text) {
  const rlimit seconds{5, 5};
  setrlimit(RLIMIT_CPU, &seconds);
  Json::Value value;
  std::_Exit(ParseJson(text, value) ? 0 : 1);
}

TEST(ParseJson, TakesTimeLinearInTheNumberOfComments) {
  constexpr int kComments = 1'000'000; // their number squared is minutes of work
  std::string comments;
  for (int i = 0; i < kComments; ++i) {
    comments += "/**/";
  }
  for (const std::string &text :
       {"[1" + comments + "]", "[1]" + comments, "{\"a\":1" + comments + "}"}) {
    EXPECT_EXIT(ParseInBoundedTime(text), testing::ExitedWithCode(0), "");
  }
}

} // namespace
