// PLS files of anybody, and edits of them.
#include "playlists/playlist_text.h"
#include "playlists/pls.h"
#include <gtest/gtest.h>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace vexo::playlists {
namespace {

std::vector<std::string> PlsPathsIn(std::string_view content) {
  std::vector<std::string> paths;
  const PlsList list(content);
  for (const PlsEntry &entry : list.entries()) {
    paths.emplace_back(entry.path);
  }
  return paths;
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
  const PlsList list("[playlist]\r\nFile10=/j\r\nTitle2=Two\r\nFile2=/b\r\nLength2=12\r\n"
                     "File1 = /a\r\nLength1=-1\r\nNumberOfEntries=3\r\nVersion=2\r\n");
  const auto &entries = list.entries();
  ASSERT_EQ(entries.size(), 3U);
  EXPECT_EQ(entries[0].path, "/a");
  EXPECT_EQ(entries[0].duration_seconds, 0);
  EXPECT_EQ(entries[1].path, "/b");
  EXPECT_EQ(entries[1].title, "Two");
  EXPECT_EQ(entries[1].duration_seconds, 12);
  EXPECT_EQ(entries[2].path, "/j");
}

TEST(Pls, LinesThatCannotBeReadArePassedOver) {
  const std::string too_long = "File3=" + std::string(kMaxPathBytes + 1, 'x');
  for (const char *line : {"", "File=x", "File0=x", "File-1=x", "File99999999999=x", "File1x=x",
                           "Filex=x", "=x", "File3", "File3=", "Title3=x", "Length3=x", "\xFF=\xFF",
                           "[playlist]", ";File3=x", too_long.c_str()}) {
    const std::string content = std::string("[playlist]\nFile2=/b\n") + line + "\n";
    EXPECT_EQ(PlsPathsIn(content), std::vector<std::string>{"/b"}) << line;
  }
}

TEST(Pls, OfTooManyEntriesIsRefused) {
  std::string content = "[playlist]\n";
  for (std::size_t number = 1; number <= kMaxEntries; ++number) {
    content += "File" + std::to_string(number) + "=a\n";
  }
  const PlsList list(content);
  EXPECT_EQ(list.entries().size(), kMaxEntries);
  EXPECT_THROW((void)list.Spliced(0, 0, {{"/n", "", 0}}), UnreadableError);
  EXPECT_EQ(PlsPathsIn(list.Spliced(0, 1, {{"/n", "", 0}})).front(), "/n");
  EXPECT_THROW(PlsList(content + "Title100001=a\n"), UnreadableError);
}

TEST(PlsEdits, AppendingCountsAndTouchesNoOtherByte) {
  struct Row {
    const char *description, *content, *after;
  };
  const Row rows[] = {
      {"an empty file", "", "[playlist]\nFile1=/n\nTitle1=New\nLength1=7\nNumberOfEntries=1\n"},
      {"a byte order mark alone", "\xEF\xBB\xBF",
       "\xEF\xBB\xBF[playlist]\nFile1=/n\nTitle1=New\nLength1=7\nNumberOfEntries=1\n"},
      {"a head alone", "[playlist]\r\nVersion=2\r\n",
       "[playlist]\r\nFile1=/n\nTitle1=New\nLength1=7\nVersion=2\r\nNumberOfEntries=1\n"},
      {"lines behind the entries", "[Playlist]\nFILE1=/a\n; mine\nnumberofentries = 1 \nVersion=2",
       "[Playlist]\nFILE1=/a\nFile2=/n\nTitle2=New\nLength2=7\n; mine\nnumberofentries = 2 \n"
       "Version=2"},
      {"no end of the last line", "[playlist]\nNumberOfEntries=1\nFile1=/a",
       "[playlist]\nNumberOfEntries=2\nFile1=/a\nFile2=/n\nTitle2=New\nLength2=7\n"},
      {"a count that is none", "[playlist]\nFile1=/a\nNumberOfEntries=\nNumberOfEntries=x\n",
       "[playlist]\nFile1=/a\nFile2=/n\nTitle2=New\nLength2=7\nNumberOfEntries=2\n"
       "NumberOfEntries=2\n"},
      {"numbers with gaps", "[playlist]\nFile3=/a\nFile07=/b\nTitle7=B\n",
       "[playlist]\nFile1=/a\nFile2=/b\nTitle2=B\nFile3=/n\nTitle3=New\nLength3=7\n"
       "NumberOfEntries=3\n"},
      {"a title without a song",
       "[playlist]\nFile01=/a\nTitle2=Lost\nLength2=1\nNumberOfEntries=1\n",
       "[playlist]\nFile01=/a\nFile2=/n\nTitle2=New\nLength2=7\nTitle3=Lost\nLength3=1\n"
       "NumberOfEntries=2\n"},
  };
  for (const Row &row : rows) {
    const PlsList list(row.content);
    const std::size_t end = list.entries().size();
    EXPECT_EQ(list.Spliced(end, end, {{"/n", "New", 7}}), row.after) << row.description;
  }
}

constexpr std::string_view kForeignPls =
    "\xEF\xBB\xBF[playlist]\r\nX-Mine=1\r\nFile1=/a\r\nTitle1=A\r\nLength1=1\r\n; two\r\n"
    "File2=/b\r\nTitle2=B\xE9\r\nfile3 = /c\r\nNumberOfEntries=3\r\nVersion=2\r\n";

TEST(PlsEdits, RemovingRenumbersWhatFollows) {
  const PlsList list(kForeignPls);
  EXPECT_EQ(list.Reduced({0}),
            "\xEF\xBB\xBF[playlist]\r\nX-Mine=1\r\n; two\r\nFile1=/b\r\nTitle1=B\xE9\r\n"
            "file2 = /c\r\nNumberOfEntries=2\r\nVersion=2\r\n");
  EXPECT_EQ(list.Reduced({0, 2}),
            "\xEF\xBB\xBF[playlist]\r\nX-Mine=1\r\n; two\r\nFile1=/b\r\nTitle1=B\xE9\r\n"
            "NumberOfEntries=1\r\nVersion=2\r\n");
  EXPECT_EQ(list.Reduced({0, 1, 2}), "\xEF\xBB\xBF[playlist]\r\nX-Mine=1\r\n; two\r\n"
                                     "NumberOfEntries=0\r\nVersion=2\r\n");
  EXPECT_EQ(list.Reduced({}), kForeignPls);
}

TEST(PlsEdits, SplicingPutsSongsInThePlaceOfOthers) {
  const PlsList list(kForeignPls);
  EXPECT_EQ(list.Spliced(1, 2, {{"/x", "", 0}, {"/y", "Y", 0}}),
            "\xEF\xBB\xBF[playlist]\r\nX-Mine=1\r\nFile1=/a\r\nTitle1=A\r\nLength1=1\r\n"
            "File2=/x\nFile3=/y\nTitle3=Y\nLength3=-1\n; two\r\n"
            "file4 = /c\r\nNumberOfEntries=4\r\nVersion=2\r\n");
  EXPECT_EQ(list.Spliced(0, 3, {{"/x", "", 0}}),
            "\xEF\xBB\xBF[playlist]\r\nX-Mine=1\r\nFile1=/x\n; two\r\n"
            "NumberOfEntries=1\r\nVersion=2\r\n");
  EXPECT_EQ(list.Spliced(3, 3, {}), kForeignPls);
}

TEST(PlsEdits, LikeEditsOfAPlainList) {
  std::mt19937 random(3);
  for (unsigned round = 0; round < 2000; ++round) {
    std::vector<std::string> lines, list;
    for (unsigned long number = 1; list.size() < round % 8; number += 1 + random() % 3) {
      list.push_back("/" + std::to_string(random()));
      lines.push_back("File" + std::to_string(number) + "=" + list.back() + "\n");
      lines.push_back("Title" + std::to_string(number + random() % 2) + "=T\n");
    }
    std::shuffle(lines.begin(), lines.end(), random);
    std::string content = "[playlist]\n";
    for (const std::string &line : lines) {
      content += line;
    }
    const auto first = static_cast<std::ptrdiff_t>(random() % (list.size() + 1));
    const auto left = list.size() + 1 - static_cast<std::size_t>(first);
    const auto last = first + static_cast<std::ptrdiff_t>(random() % left);
    const std::string spliced =
        PlsList(content).Spliced(static_cast<std::size_t>(first), static_cast<std::size_t>(last),
                                 {{"/x", "X", 0}, {"/y", "", 0}});
    list.erase(list.begin() + first, list.begin() + last);
    list.insert(list.begin() + first, {"/x", "/y"});
    ASSERT_EQ(PlsPathsIn(spliced), list) << content;
    EXPECT_NE(spliced.find("NumberOfEntries=" + std::to_string(list.size()) + "\n"),
              std::string::npos);
  }
}

} // namespace
} // namespace vexo::playlists
