#include "text/code_page.h"
#include <gtest/gtest.h>

namespace vexo::text {
namespace {

struct Row {
  int code_page;
  const char *utf8, *bytes;
};

constexpr Row kRows[] = {
    {65001, "\u00E9\u3042\U0001F600", "\u00E9\u3042\U0001F600"},
    {1252, "\u20AC\u00E9", "\x80\xE9"},
    {1251, "\u042F", "\xDF"},
    {1250, "\u0158", "\xD8"},
    {874, "\u0E01", "\xA1"},
    {437, "\u00E9", "\x82"},
    {850, "\u00E9", "\x82"},
    {932, "\u3042\u4E9C", "\x82\xA0\x88\x9F"},
    {936, "\u4E2D", "\xD6\xD0"},
    {949, "\uAC00", "\xB0\xA1"},
    {950, "\u4E2D", "\xA4\xA4"},
    {20932, "\u3042", "\xA4\xA2"},
    {51932, "\u3042", "\xA4\xA2"},
    {51949, "\uAC00", "\xB0\xA1"},
    {28591, "\u00E9", "\xE9"},
    {28605, "\u20AC", "\xA4"},
    {20866, "\u0430", "\xC1"},
    {54936, "\u4E2D\U0001F600", "\xD6\xD0\x94\x39\xFC\x36"},
};

TEST(FromUtf8, ConvertsToTheCodePage) {
  for (const Row &row : kRows) {
    EXPECT_EQ(FromUtf8(row.code_page, row.utf8), row.bytes) << row.code_page;
  }
}

TEST(CodePages, ThatAreKnown) {
  for (const Row &row : kRows) {
    EXPECT_TRUE(IsKnownCodePage(row.code_page)) << row.code_page;
  }
}

TEST(ToUtf8, ConvertsFromTheCodePage) {
  for (const Row &row : kRows) {
    EXPECT_EQ(ToUtf8(row.code_page, row.bytes), row.utf8) << row.code_page;
  }
}

TEST(FromUtf8, KeepsPlainTexts) {
  for (const Row &row : kRows) {
    EXPECT_EQ(FromUtf8(row.code_page, "Plain 1/2.mp3"), "Plain 1/2.mp3") << row.code_page;
  }
}

TEST(FromUtf8, ConvertsTextsLongerThanAnyBuffer) {
  std::string utf8, bytes;
  for (int i = 0; i < 10000; ++i) {
    utf8 += "\u3042";
    bytes += "\x82\xA0";
  }
  EXPECT_EQ(FromUtf8(932, utf8), bytes);
}

TEST(FromUtf8, ReplacesACharacterWithoutAPlaceInTheCodePage) {
  const struct {
    const char *description;
    int code_page;
    const char *utf8, *bytes;
  } rows[] = {
      {"one", 1252, "a\u3042", "a_"},
      {"one of four bytes", 932, "\U0001F600\u3042", "_\x82\xA0"},
      {"between others", 28591, "\u00E9\u20AC\u00E9", "\xE9_\xE9"},
      {"a letter and its accent", 1252, "e\u0301", "e_"},
      {"all", 874, "\u3042\u3044", "__"},
  };
  for (const auto &row : rows) {
    EXPECT_EQ(FromUtf8(row.code_page, row.utf8), row.bytes) << row.description;
  }
}

TEST(FromUtf8, LeavesATextThatIsNotUtf8) {
  for (const int code_page : {65001, 1252, 932}) {
    EXPECT_EQ(FromUtf8(code_page, "\u3042\xFF"), "\u3042\xFF") << code_page;
    EXPECT_EQ(FromUtf8(code_page, "a\xC3"), "a\xC3") << code_page;
  }
}

TEST(ToUtf8, RefusesBytesThatAreNotOfTheCodePage) {
  EXPECT_FALSE(ToUtf8(65001, "\xE9"));
  EXPECT_FALSE(ToUtf8(932, "\x82"));
  EXPECT_FALSE(ToUtf8(1252, "\x81"));
}

TEST(CodePages, WithAnUnknownNumberConvertNothing) {
  for (const int code_page : {-1, 0, 1, 37, 1200, 65000, 65002, 99999}) {
    EXPECT_FALSE(IsKnownCodePage(code_page)) << code_page;
    EXPECT_FALSE(FromUtf8(code_page, "a")) << code_page;
    EXPECT_FALSE(ToUtf8(code_page, "a")) << code_page;
  }
}

} // namespace
} // namespace vexo::text
