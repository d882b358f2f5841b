#include "text/utf8.h"
#include <gtest/gtest.h>

namespace vexo::text {
namespace {

TEST(IsUtf8, AcceptsWellFormedTexts) {
  for (const char *text : {"", "plain", "\xC2\x80", "\xDF\xBF", "\xE0\xA0\x80", "\xED\x9F\xBF",
                           "\xEE\x80\x80", "\xEF\xBF\xBF", "\xF0\x90\x80\x80", "\xF4\x8F\xBF\xBF",
                           "a longer text with \xC3\xA9 in its middle"}) {
    EXPECT_TRUE(IsUtf8(text)) << text;
  }
}

struct Malformed {
  const char *what, *text;
};

constexpr Malformed kMalformed[] = {
    {"a continuation byte alone", "\x80"},
    {"an overlong slash", "\xC0\xAF"},
    {"an overlong ASCII character", "\xC1\xBF"},
    {"an overlong form of three bytes", "\xE0\x9F\xBF"},
    {"an overlong form of four bytes", "\xF0\x8F\xBF\xBF"},
    {"a high surrogate", "\xED\xA0\x80"},
    {"a low surrogate", "\xED\xBF\xBF"},
    {"beyond U+10FFFF", "\xF4\x90\x80\x80"},
    {"a lead byte that is none", "\xF5\x80\x80\x80"},
    {"the byte FF", "\xFF"},
    {"a cut character of two bytes", "\xC3"},
    {"a cut character of three bytes", "\xE2\x82"},
    {"a cut character of four bytes", "\xF0\x9F\x98"},
    {"a lead byte before ASCII", "\xC3"
                                 "A"},
    {"behind sixteen plain bytes", "0123456789abcdef\xFF"},
};

TEST(IsUtf8, RefusesMalformedTexts) {
  for (const Malformed &row : kMalformed) {
    EXPECT_FALSE(IsUtf8(row.text)) << row.what;
  }
}

TEST(ToValidUtf8, LeavesWellFormedTexts) {
  EXPECT_EQ(ToValidUtf8("caf\xC3\xA9 \xF0\x9F\x98\x80"), "caf\xC3\xA9 \xF0\x9F\x98\x80");
}

TEST(ToValidUtf8, RepairsWhateverBytesThereAre) {
  for (const Malformed &row : kMalformed) {
    EXPECT_TRUE(IsUtf8(ToValidUtf8(row.text))) << row.what;
  }
}

TEST(ToValidUtf8, PutsAReplacementForEachBadByteAndKeepsTheRest) {
  EXPECT_EQ(ToValidUtf8("a\xC3\"b\xFF"), "a\xEF\xBF\xBD\"b\xEF\xBF\xBD");
}

TEST(AppendUtf8, WritesWhatDecodeUtf8Reads) {
  for (const char32_t code_point :
       {0x00U, 0x7FU, 0x80U, 0x7FFU, 0x800U, 0xD7FFU, 0xE000U, 0xFFFFU, 0x10000U, 0x10FFFFU}) {
    std::string text;
    AppendUtf8(text, code_point);
    const Utf8Character read = DecodeUtf8(text);
    EXPECT_EQ(read.code_point, code_point);
    EXPECT_EQ(read.length_bytes, text.size());
  }
}

} // namespace
} // namespace vexo::text
