// Positions and addresses.
#include "playlists/entry_paths.h"
#include "text/numbers.h"
#include <gtest/gtest.h>
#include <stdexcept>
#include <string>

namespace vexo::playlists {
namespace {

using Positions = std::vector<std::size_t>;

TEST(Positions, AreTakenInAnyOrderAndOnce) {
  struct Row {
    const char *text;
    Positions positions;
  };
  for (const Row &row : {Row{"0", {0}}, Row{"9", {9}}, Row{"3,1,2", {1, 2, 3}}, Row{"1,1,1", {1}},
                         Row{"007", {7}}, Row{"9,0,9,0", {0, 9}}}) {
    EXPECT_EQ(text::ParsePositions(row.text, 10), row.positions) << row.text;
  }
}

TEST(Positions, ThatAreNoneAreRefused) {
  const char *const texts[] = {"",
                               ",",
                               "1,",
                               ",1",
                               "1,,2",
                               "-1",
                               "+1",
                               " 1",
                               "1 ",
                               "1, 2",
                               "1;2",
                               "a",
                               "1a",
                               "0x1",
                               "1.0",
                               "1e0",
                               "10",
                               "0,10",
                               "99999999999999999999999999",
                               "18446744073709551616",
                               "4294967296",
                               "\n",
                               "1\n",
                               "\xD9\xA1",
                               "0,1,2,3,-0",
                               "[1]",
                               "*"};
  for (const char *text : texts) {
    EXPECT_THROW((void)text::ParsePositions(text, 10), std::invalid_argument) << text;
  }
  EXPECT_THROW((void)text::ParsePositions("0", 0), std::invalid_argument);
  EXPECT_THROW((void)text::ParsePositions(std::string(1 << 20, '1'), 10), std::invalid_argument);
  EXPECT_THROW((void)text::ParsePositions(std::string_view("1\0", 2), 10), std::invalid_argument);
}

TEST(Positions, AHundredThousandAreAnOrdinaryText) {
  std::string text = "0";
  for (int i = 1; i < 100000; ++i) {
    text += "," + std::to_string(i);
  }
  EXPECT_EQ(text::ParsePositions(text, 100000).size(), 100000U);
}

TEST(StreamAddresses, AreToldFromPaths) {
  for (const char *text : {"http://a", "HTTPS://a/b c", "rtsp://x", "mms+x.y-z1://", "file:///a"}) {
    EXPECT_TRUE(IsStreamAddress(text)) << text;
  }
  for (const char *text : {"/a://b", "a b://c", "://x", "http:/a", "a.mp3", "", "\xC3\xA9://x"}) {
    EXPECT_FALSE(IsStreamAddress(text)) << text;
  }
}

TEST(FileAddresses, HavePaths) {
  struct Row {
    const char *address, *path;
  };
  for (const Row &row :
       {Row{"file:///a", "/a"}, Row{"file:///a%20b%C3%A9", "/a b\xC3\xA9"},
        Row{"FILE://LocalHost/a", "/a"}, Row{"file:/a", "/a"}, Row{"file:///a%", "/a%"},
        Row{"file:///a%2", "/a%2"}, Row{"file:///100%ab", "/100\xAB"},
        Row{"file:///a%zz%4", "/a%zz%4"}, Row{"file:///a%+1%-1% 1", "/a%+1%-1% 1"},
        Row{"file:///a%00b", "/a%00b"}, Row{"file:///a+b?c#d", "/a+b?c#d"}, Row{"file:///", "/"}}) {
    EXPECT_EQ(PathOfFileAddress(row.address), row.path) << row.address;
  }
  for (const char *text : {"", "file:", "file:a", "file://", "file://host/a", "file:////host/a",
                           "http:///a", "/file:///a", "xfile:///a"}) {
    EXPECT_EQ(PathOfFileAddress(text), std::nullopt) << text;
  }
}

} // namespace
} // namespace vexo::playlists
