#include "web/send_headers.h"
#include <algorithm>
#include <gtest/gtest.h>
#include <random>

using vexo::web::AttachmentHeader;

namespace {

std::string Header(const std::string &ascii, const std::string &extended) {
  return "Content-Disposition: attachment; filename=\"" + ascii + "\"; filename*=UTF-8''" +
         extended + "\n";
}

TEST(AttachmentHeaderTest, NamesToTheByte) {
  const struct {
    const char *description;
    std::string name, ascii, extended;
  } rows[] = {
      {"an ordinary name", "audio.zip", "audio.zip", "audio.zip"},
      {"blanks", "My songs.zip", "My songs.zip", "My%20songs.zip"},
      {"the plain characters of RFC 8187", "!#$&+-.^_`|~", "!#$&+-.^_`|~", "!#$&+-.^_`|~"},
      {"quotes", "a\"b'c", "a_b'c", "a%22b%27c"},
      {"a backslash", "a\\", "a_", "a%5C"},
      {"a percent sign", "100%41", "100_41", "100%2541"},
      {"a parameter", "a; b=c", "a; b=c", "a%3B%20b%3Dc"},
      {"Japanese", "\xE6\x9B\xB2.mp3", "_.mp3", "%E6%9B%B2.mp3"},
      {"four bytes a letter", "\xF0\x9F\x8E\xB5", "_", "%F0%9F%8E%B5"},
      {"line ends", "a\r\nSet-Cookie: x", "a__Set-Cookie: x", "a__Set-Cookie%3A%20x"},
      {"control characters", std::string("\0\x1B\x7F", 3), "___", "___"},
      {"bytes that are not UTF-8", "\xE9.mp3", "_.mp3", "%EF%BF%BD.mp3"},
      {"half a letter at the end", "a\xE6\x9B", "a__", "a%EF%BF%BD%EF%BF%BD"},
      {"empty", "", "", ""},
  };
  for (const auto &row : rows) {
    EXPECT_EQ(AttachmentHeader(row.name), Header(row.ascii, row.extended)) << row.description;
  }
}

TEST(AttachmentHeaderTest, AnyBytesMakeOneLineOfPrintableAscii) {
  std::mt19937 random(5);
  for (int round = 0; round < 2000; ++round) {
    std::string name(random() % 40, '\0');
    std::generate(name.begin(), name.end(), [&] { return static_cast<char>(random()); });
    std::string header = AttachmentHeader(name);
    ASSERT_EQ(header.back(), '\n');
    header.pop_back();
    EXPECT_TRUE(std::all_of(header.begin(), header.end(), [](char c) {
      return c >= ' ' && c <= '~';
    })) << header;
    EXPECT_EQ(std::count(header.begin(), header.end(), '"'), 2) << header;
  }
}

TEST(TypeAndEndTest, EndsTheHeader) {
  const std::string end = "X-Content-Type-Options: nosniff\nCache-Control: no-store\n\n";
  EXPECT_EQ(vexo::web::TypeAndEnd("application/force-download"),
            "Content-Type: application/force-download\n" + end);
  EXPECT_EQ(vexo::web::TypeAndEnd("a\r\nb"), "Content-Type: a__b\n" + end);
}

} // namespace
