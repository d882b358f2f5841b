#include "contract/playlists/playlists_test.h"
#include "playlists/m3u.h"
#include "playlists/playlist_text.h"
#include <cstdio>
#include <random>
#include <stdexcept>

namespace vexo::playlists {
namespace {

using Views = std::vector<std::string_view>;

Views PathsIn(std::string_view content) {
  Views paths;
  for (const M3uEntry &entry : ParseM3u(content)) {
    paths.push_back(entry.path);
  }
  return paths;
}

TEST(M3u, IsReadAsOtherProgramsWriteIt) {
  struct Row {
    const char *description;
    std::string_view content;
    Views paths;
  };
  using std::string_view_literals::operator""sv;
  const std::string long_name(kMaxPathBytes - 1, 'n');
  const std::string path = "/" + long_name, protected_path = "./ " + long_name;
  const std::string too_long = path + "x\n#EXTINF:" + path + "\n" + path + "\n/a\n";
  const std::string long_address = "file://" + path + path, address_and_end = long_address + "\n";
  const Row rows[] = {
      {"an empty file", "", {}},
      {"a head alone", "#EXTM3U\n", {}},
      {"plain lines", "/a.mp3\n/b.mp3\n", {"/a.mp3", "/b.mp3"}},
      {"no end of the last line", "/a.mp3\n/b.mp3", {"/a.mp3", "/b.mp3"}},
      {"line ends of Windows", "#EXTM3U\r\n/a.mp3\r\n\r\n/b.mp3\r\n", {"/a.mp3", "/b.mp3"}},
      {"a byte order mark", "\xEF\xBB\xBF/a.mp3\n", {"/a.mp3"}},
      {"a byte order mark before the head", "\xEF\xBB\xBF#EXTM3U\n/a.mp3\n", {"/a.mp3"}},
      {"a byte order mark alone", "\xEF\xBB\xBF", {}},
      {"files that were joined", "\xEF\xBB\xBF/a\n\xEF\xBB\xBF#EXTM3U\n/b\n", {"/a", "/b"}},
      {"tags and comments", "#EXTINF:1,T\n#comment\n#EXTVLCOPT:x=1\n/a.mp3\n", {"/a.mp3"}},
      {"a comment behind blanks", " \t# comment\n/a.mp3\n", {"/a.mp3"}},
      {"blanks before a path", "  /a.mp3\n", {"/a.mp3"}},
      {"a blank line", " \t \n/a.mp3\n", {"/a.mp3"}},
      {"a blank at the end of a name", "/a \n", {"/a "}},
      {"an address", "http://radio/a?b#c\n", {"http://radio/a?b#c"}},
      {"a tag without a song", "#EXTINF:1,T\n", {}},
      {"bytes that are no UTF-8", "\xFF\xFE\n", {"\xFF\xFE"}},
      {"a NUL byte", "a\0b\n"sv, {"a\0b"sv}},
      {"lines longer than a path", too_long, {path, "/a"}},
      {"a protected path of the greatest length", protected_path, {protected_path}},
      {"an address with three bytes for one", address_and_end, {long_address}},
  };
  for (const Row &row : rows) {
    EXPECT_EQ(PathsIn(row.content), row.paths) << row.description;
  }
}

TEST(M3u, ATagTellsOfTheNextPathOnly) {
  const auto entries = ParseM3u("#EXTINF:1,A\n#EXTINF:2,B\n# x\n/b.mp3\n/c.mp3\n");
  ASSERT_EQ(entries.size(), 2U);
  EXPECT_EQ(entries[0].info, "2,B");
  EXPECT_EQ(entries[0].begin, 0U);
  EXPECT_EQ(entries[1].info, "");
}

TEST(M3u, ATagIsReadInAllItsForms) {
  struct Row {
    const char *info;
    float seconds;
    const char *artist, *title;
  };
  const Row rows[] = {
      {"215,Artist - Title", 215, "Artist", "Title"},
      {"215,Title", 215, "", "Title"},
      {"-1,Artist - Title", 0, "Artist", "Title"},
      {"12.5,A - B - C", 12.5, "A", "B - C"},
      {"0 tvg-name=\"x, y\" group=\"z\",Title", 0, "", "Title"},
      {"7 broken=\"quote,Title", 7, "", "Title"},
      {"7", 7, "", ""},
      {"", 0, "", ""},
      {",Title", 0, "", "Title"},
      {"nan,Title", 0, "", "Title"},
      {"1e99,Title", 1, "", "Title"},
      {"99999999999999999999,Title", 0, "", "Title"},
  };
  for (const Row &row : rows) {
    const M3uInfo info = ParseM3uInfo(row.info);
    EXPECT_EQ(info.duration_seconds, row.seconds) << row.info;
    EXPECT_EQ(info.artist, row.artist) << row.info;
    EXPECT_EQ(info.title, row.title) << row.info;
  }
}

NewEntry Song(std::string_view path, std::string_view title = "", std::string_view artist = "",
              float duration = 0) {
  return {path, artist, title, duration};
}

TEST(M3u, AnEntryIsWrittenWithWhatIsKnown) {
  struct Row {
    const char *description;
    NewEntry song;
    const char *text;
  };
  const Row rows[] = {
      {"everything", Song("/a.mp3", "Title", "Artist", 215.4F),
       "#EXTINF:215,Artist - Title\n/a.mp3\n"},
      {"no artist", Song("/a.mp3", "Title", "", 215.6F), "#EXTINF:216,Title\n/a.mp3\n"},
      {"no length", Song("/a.mp3", "Title", "Artist"), "#EXTINF:-1,Artist - Title\n/a.mp3\n"},
      {"a very short song", Song("/a.mp3", "T", "", 0.2F), "#EXTINF:1,T\n/a.mp3\n"},
      {"a path alone", Song("/a.mp3"), "/a.mp3\n"},
      {"no path", Song("", "Title", "Artist", 1), ""},
      {"line breaks in texts", Song("/a.mp3", "Ti\r\ntle", "Art\nist", 1),
       "#EXTINF:1,Art ist - Ti  tle\n/a.mp3\n"},
      {"an address", Song("http://radio/1", "Radio"), "#EXTINF:-1,Radio\nhttp://radio/1\n"},
      {"a path like a comment", Song("#1.mp3"), "./#1.mp3\n"},
      {"a path that begins with a blank", Song(" a.mp3"), "./ a.mp3\n"},
      {"a path like a protected one", Song("./#1.mp3"), "././#1.mp3\n"},
      {"a path that begins with a mark",
       Song("\xEF\xBB\xBF"
            "a"),
       "./\xEF\xBB\xBF"
       "a\n"},
      {"a relative path", Song("./a.mp3"), "./a.mp3\n"},
  };
  for (const Row &row : rows) {
    std::string text;
    AppendM3uEntry(text, row.song);
    EXPECT_EQ(text, row.text) << row.description;
  }
}

TEST(M3u, ATextOfACodePageIsWrittenAsUtf8) {
  std::string text;
  AppendM3uEntry(text, Song("/a", "caf\xE9", "\x81"));
  EXPECT_EQ(text, "#EXTINF:-1,? - caf\xC3\xA9\n/a\n");
}

TEST(M3u, APathWithALineBreakIsRefused) {
  for (const char *path : {"/a\nb.mp3", "/a\rb.mp3", "\n", "/a\r\n/etc/passwd"}) {
    std::string text;
    EXPECT_THROW(AppendM3uEntry(text, Song(path)), std::invalid_argument) << path;
    EXPECT_EQ(text, "");
  }
}

TEST(M3u, SongsWithoutAPathAreNotWritten) {
  const NewEntry songs[] = {Song("/a"), Song(""), Song("/b")};
  EXPECT_EQ(M3uEntries(songs), "/a\n/b\n");
  EXPECT_EQ(M3uEntries({}), "");
}

TEST(M3u, WhatIsWrittenReadsTheSame) {
  constexpr char kAlphabet[] = "#./ \tab-,\"\\:%\xC3\xA9\xFF";
  std::mt19937 random(1);
  std::uniform_int_distribution<std::size_t> letter(0, sizeof kAlphabet - 2), length(1, 8);
  for (int round = 0; round < 20000; ++round) {
    std::string path(length(random), ' ');
    for (char &c : path) {
      c = kAlphabet[letter(random)];
    }
    std::string text(kM3uHead);
    AppendM3uEntry(text, Song(path, "Title", "Artist", 12));
    const auto entries = ParseM3u(text);
    ASSERT_EQ(entries.size(), 1U) << text;
    EXPECT_EQ(UnprotectPath(entries[0].path), path);
    const M3uInfo info = ParseM3uInfo(entries[0].info);
    EXPECT_EQ(info.title, "Title");
    EXPECT_EQ(info.artist, "Artist");
    EXPECT_EQ(info.duration_seconds, 12);
  }
}

TEST(M3u, AFileOfTooManyEntriesIsRefused) {
  std::string content;
  for (std::size_t i = 0; i < kMaxEntries; ++i) {
    content += "a\n";
  }
  EXPECT_EQ(ParseM3u(content).size(), kMaxEntries);
  EXPECT_EQ(CountM3uEntries(content + "a\n"), kMaxEntries + 1);
  EXPECT_THROW((void)ParseM3u(content + "a\n"), UnreadableError);
}

TEST(M3u, AsManyEntriesAreCountedAsRead) {
  const std::string mark = "\xEF\xBB\xBF";
  const std::string longest(kMaxPathBytes, 'p');
  for (const std::string &content : {
           std::string(),
           std::string("\n\r\n \t\n"),
           std::string("#EXTM3U\n#EXTINF:1,A - T\n/a\n/b"),
           mark + "#EXTM3U\n" + mark + "/a\r\n  /b\r\n\t#comment\n" + mark + " #tag\n",
           mark + mark + "/a\n" + mark + "\n",
           "/" + longest + "\n" + longest + "\n./" + longest + "\n  " + longest + "\r\n",
           "file:///" + longest + "\nfile:///" + longest + longest + longest + longest,
       }) {
    EXPECT_EQ(CountM3uEntries(content), ParseM3u(content).size()) << content;
    EXPECT_GE(MostM3uEntries(content), CountM3uEntries(content)) << content;
  }
}

TEST(M3u, LinesOfTagsAreNotAmongTheMostEntriesThatAListMayHave) {
  for (const std::size_t entries : {1U, 2U, 3U, 10U, 11U, 12U, 100U}) {
    std::string content = "#EXTM3U";
    for (std::size_t i = 0; i < entries; ++i) {
      content += "\n#EXTINF:1,A - T\n/a";
    }
    EXPECT_EQ(MostM3uEntries(content), entries + 1);
    EXPECT_EQ(MostM3uEntries(content + "\n"), entries + 1);
  }
}

TEST(M3u, MoreSongsThanAPlaylistMayHaveAreRefused) {
  std::vector<NewEntry> songs(kMaxEntries, NewEntry{"/a", "", "", 0});
  songs.push_back({});
  EXPECT_EQ(CountM3uEntries(M3uEntries(songs)), kMaxEntries);
  songs.push_back({"/b", "", "", 0});
  EXPECT_THROW((void)M3uEntries(songs), UnreadableError);
}

TEST(M3uEdits, AppendingEndsTheLastLineAndGivesAnEmptyFileItsHead) {
  EXPECT_EQ(Text(AppendedM3u("", "/n\n")), "#EXTM3U\n/n\n");
  EXPECT_EQ(Text(AppendedM3u("#EXTM3U\n", "/n\n")), "#EXTM3U\n/n\n");
  EXPECT_EQ(Text(AppendedM3u("/a\n", "/n\n")), "/a\n/n\n");
  EXPECT_EQ(Text(AppendedM3u("/a\r\n/b", "/n\n")), "/a\r\n/b\n/n\n");
  EXPECT_EQ(Text(AppendedM3u("/a\n# end\n\n", "/n\n")), "/a\n# end\n\n/n\n");
  EXPECT_EQ(Text(AppendedM3u("\xEF\xBB\xBF", "/n\n")), "\xEF\xBB\xBF/n\n");
  EXPECT_EQ(Text(AppendedM3u("/a", "")), "/a");
}

constexpr std::string_view kForeign = "\xEF\xBB\xBF#EXTM3U\r\n# of mine\r\n#EXTINF:1,A\r\n/a\r\n"
                                      "#EXTVLCOPT:x\r\n\r\n/b\xE9\r\n# end";

TEST(M3uEdits, SplicingTouchesNoOtherByte) {
  const auto entries = ParseM3u(kForeign);
  ASSERT_EQ(entries.size(), 2U);
  EXPECT_EQ(Text(SplicedM3u(kForeign, entries, 0, 1, "/n\n")),
            "\xEF\xBB\xBF#EXTM3U\r\n# of mine\r\n/n\n#EXTVLCOPT:x\r\n\r\n/b\xE9\r\n# end");
  EXPECT_EQ(Text(SplicedM3u(kForeign, entries, 1, 1, "/n\n")),
            "\xEF\xBB\xBF#EXTM3U\r\n# of mine\r\n#EXTINF:1,A\r\n/a\r\n#EXTVLCOPT:x\r\n\r\n"
            "/n\n/b\xE9\r\n# end");
  EXPECT_EQ(Text(SplicedM3u(kForeign, entries, 2, 2, "/n\n")), std::string(kForeign) + "\n/n\n");
  EXPECT_EQ(Text(SplicedM3u(kForeign, entries, 0, 2, "")),
            "\xEF\xBB\xBF#EXTM3U\r\n# of mine\r\n#EXTVLCOPT:x\r\n\r\n# end");
  EXPECT_EQ(Text(SplicedM3u(kForeign, entries, 1, 1, "")), kForeign);
}

TEST(M3uEdits, SplicingAtTheBeginningOfAPlainFileGivesItAHead) {
  const std::string_view plain = "/a\n/b\n";
  EXPECT_EQ(Text(SplicedM3u(plain, ParseM3u(plain), 0, 0, "/n\n")), "#EXTM3U\n/n\n/a\n/b\n");
}

TEST(M3uEdits, RemovingTakesAnEntrysTagsAndLeavesTheRest) {
  const std::string_view content = "#EXTINF:1,A\n# kept\n#EXTINF:2,A\n/a\n/b\n#EXTINF:3,C\n/c";
  const auto entries = ParseM3u(content);
  EXPECT_EQ(Text(ReducedM3u(content, entries, {0})), "# kept\n/b\n#EXTINF:3,C\n/c");
  EXPECT_EQ(Text(ReducedM3u(content, entries, {0, 2})), "# kept\n/b\n");
  EXPECT_EQ(Text(ReducedM3u(content, entries, {0, 1, 2})), "# kept\n");
  EXPECT_EQ(Text(ReducedM3u(content, entries, {})), content);
  EXPECT_EQ(Text(ReducedM3u(kForeign, ParseM3u(kForeign), {0})),
            "\xEF\xBB\xBF#EXTM3U\r\n# of mine\r\n#EXTVLCOPT:x\r\n\r\n/b\xE9\r\n# end");
}

TEST(M3uEdits, LikeEditsOfAPlainList) {
  std::mt19937 random(2);
  for (int round = 0; round < 2000; ++round) {
    Texts list;
    for (std::size_t i = random() % 8; i > 0; --i) {
      list.push_back("/" + std::to_string(random()));
    }
    const std::string content = M3u(list);
    const auto entries = ParseM3u(content);
    const std::size_t first = random() % (list.size() + 1);
    const std::size_t last = first + random() % (list.size() - first + 1);
    const std::string spliced = Text(SplicedM3u(content, entries, first, last, "/x\n/y\n"));
    list.erase(list.begin() + static_cast<std::ptrdiff_t>(first),
               list.begin() + static_cast<std::ptrdiff_t>(last));
    list.insert(list.begin() + static_cast<std::ptrdiff_t>(first), {"/x", "/y"});
    EXPECT_EQ(spliced, M3u(list));
  }
}

} // namespace
} // namespace vexo::playlists
