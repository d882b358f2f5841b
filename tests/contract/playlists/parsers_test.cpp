// PLS files, positions, streams' addresses.
#include "playlists/entry_paths.h"
#include "playlists/m3u.h"
#include "playlists/pls.h"
#include "playlists/positions.h"
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
    EXPECT_EQ(ParsePositions(row.text, 10), row.positions) << row.text;
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
    EXPECT_THROW((void)ParsePositions(text, 10), std::invalid_argument) << text;
  }
  EXPECT_THROW((void)ParsePositions("0", 0), std::invalid_argument);
  EXPECT_THROW((void)ParsePositions(std::string(1 << 20, '1'), 10), std::invalid_argument);
  EXPECT_THROW((void)ParsePositions(std::string_view("1\0", 2), 10), std::invalid_argument);
}

TEST(Positions, AHundredThousandAreAnOrdinaryText) {
  std::string text = "0";
  for (int i = 1; i < 100000; ++i) {
    text += "," + std::to_string(i);
  }
  EXPECT_EQ(ParsePositions(text, 100000).size(), 100000U);
}

TEST(Pls, IsToldByItsFirstLine) {
  for (const char *content :
       {"[playlist]", "[Playlist]\r\n", "\xEF\xBB\xBF[playlist]\n", "\n \n[PLAYLIST] \nFile1=a"}) {
    EXPECT_TRUE(IsPls(content)) << content;
  }
  for (const char *content : {"", "#EXTM3U\n[playlist]", "[playlist", "x[playlist]", "File1=a"}) {
    EXPECT_FALSE(IsPls(content)) << content;
  }
}

TEST(Pls, EntriesComeInTheOrderOfTheirNumbers) {
  const auto entries = ParsePls("[playlist]\r\nFile10=/j\r\nTitle2=Two\r\nFile2=/b\r\n"
                                "Length2=12\r\nFile1 = /a\r\nLength1=-1\r\nNumberOfEntries=3\r\n"
                                "Version=2\r\n");
  ASSERT_EQ(entries.size(), 3U);
  EXPECT_EQ(entries[0].path, "/a");
  EXPECT_EQ(entries[0].duration_seconds, 0);
  EXPECT_EQ(entries[1].path, "/b");
  EXPECT_EQ(entries[1].title, "Two");
  EXPECT_EQ(entries[1].duration_seconds, 12);
  EXPECT_EQ(entries[2].path, "/j");
}

TEST(Pls, LinesThatCannotBeReadArePassedOver) {
  for (const char *line :
       {"", "File=x", "File0=x", "File-1=x", "File99999999999=x", "File1x=x", "Filex=x", "=x",
        "File3", "File3=", "Title3=x", "Length3=x", "\xFF=\xFF", "[playlist]", ";File3=x"}) {
    const std::string content = std::string("[playlist]\nFile2=/b\n") + line + "\n";
    const auto entries = ParsePls(content);
    ASSERT_EQ(entries.size(), 1U) << line;
    EXPECT_EQ(entries[0].path, "/b") << line;
  }
}

TEST(Pls, OfMoreThanAMillionEntriesIsRefused) {
  std::string content = "[playlist]\n";
  for (std::size_t number = 1; number <= kMaxEntries; ++number) {
    content += "File" + std::to_string(number) + "=a\n";
  }
  EXPECT_EQ(ParsePls(content).size(), kMaxEntries);
  EXPECT_THROW((void)ParsePls(content + "Title1000001=a\n"), std::length_error);
}

TEST(StreamAddresses, AreToldFromPaths) {
  for (const char *text : {"http://a", "HTTPS://a/b c", "rtsp://x", "mms+x.y-z1://", "file:///a"}) {
    EXPECT_TRUE(IsStreamAddress(text)) << text;
  }
  for (const char *text : {"/a://b", "a b://c", "://x", "http:/a", "a.mp3", "", "\xC3\xA9://x"}) {
    EXPECT_FALSE(IsStreamAddress(text)) << text;
  }
}

} // namespace
} // namespace vexo::playlists
