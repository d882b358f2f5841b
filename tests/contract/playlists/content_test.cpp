// Playlist files of every format and encoding: how they read, and what edits make of them.
#include "contract/playlists/playlists_test.h"
#include "playlists/playlist_content.h"
#include "playlists/playlist_text.h"

namespace vexo::playlists {
namespace {

using std::string_literals::operator""s;

/// ASCII text as UTF-16 with its mark.
std::string Utf16(const std::string &text, bool is_big_endian) {
  std::string bytes = is_big_endian ? "\xFE\xFF" : "\xFF\xFE";
  for (const char c : text) {
    bytes += is_big_endian ? std::string{'\0', c} : std::string{c, '\0'};
  }
  return bytes;
}

TEST(Utf16, BecomesUtf8) {
  struct Row {
    const char *description;
    std::string bytes, text;
  };
  const Row rows[] = {
      {"little endian", Utf16("a\r\nb", false), "a\r\nb"},
      {"big endian", Utf16("a\r\nb", true), "a\r\nb"},
      {"a mark alone", "\xFF\xFE", ""},
      {"two bytes", "\xFF\xFE\xE9\x00"s, "\xC3\xA9"},
      {"three bytes", "\xFE\xFF\x20\xAC", "\xE2\x82\xAC"},
      {"a pair", "\xFE\xFF\xD8\x3D\xDE\x00"s, "\xF0\x9F\x98\x80"},
      {"the last character", "\xFF\xFE\xFF\xDB\xFF\xDF", "\xF4\x8F\xBF\xBF"},
  };
  for (const Row &row : rows) {
    EXPECT_EQ(FromUtf16(row.bytes), row.text) << row.description;
  }
  for (const char *bytes : {"", "a", "\xFF", "\xEF\xBB\xBFx", "x\xFF\xFE"}) {
    EXPECT_EQ(FromUtf16(bytes), std::nullopt) << bytes;
  }
}

TEST(Utf16, ThatIsBrokenIsRefused) {
  for (const std::string &bytes : {"\xFF\xFE"s + "a", "\xFE\xFF\xD8\x3D"s, "\xFE\xFF\xDE\x00"s,
                                   "\xFE\xFF\xD8\x3D\x00"s + "a", "\xFE\xFF\xD8\x3D\xD8\x3D"s}) {
    EXPECT_THROW((void)FromUtf16(bytes), UnreadableError);
  }
}

TEST(LineFeeds, TakeThePlaceOfReturnsThatStandAlone) {
  const auto knows = [](std::string_view line) { return line == "/a\rfile"; };
  struct Row {
    std::string before, after;
  };
  for (const Row &row :
       {Row{"/a\r/b\r", "/a\n/b\r"}, Row{"/a\r/b", "/a\n/b"}, Row{"\r\r\n\r/a", "\n\r\n\n/a"},
        Row{"/a\r/b\n/c\r\n", "/a\n/b\n/c\r\n"}, Row{"/a\rfile\n/b\r/c", "/a\rfile\n/b\n/c"}}) {
    EXPECT_EQ(WithLineFeeds(row.before, knows), row.after);
  }
  for (const char *text : {"", "\r", "/a", "/a\r\n/b\r\n", "/a\n/b\r"}) {
    EXPECT_EQ(WithLineFeeds(text, knows), std::nullopt) << text;
  }
}

class Content : public Playlists {
protected:
  static Texts PathsIn(std::string_view bytes, const std::string &path = Shared("a.m3u")) {
    PlaylistContent content(bytes, path);
    Texts paths;
    for (std::size_t i = 0; i < content.size(); ++i) {
      paths.emplace_back(content.At(i).path);
    }
    return paths;
  }
  static std::string Appended(std::string_view bytes, const std::string &path = Shared("a.m3u")) {
    PlaylistContent content(bytes, path);
    return Text(content.Appended("#EXTINF:5,A - T\n/n\n"));
  }
};

TEST_F(Content, IsOfTheFormatItsFirstLineTells) {
  const std::string pls = Shared("a.pls");
  EXPECT_EQ(PathsIn("[playlist]\nFile1=/a\n"), Texts{"/a"});
  EXPECT_EQ(PathsIn("File1=/a\n", pls), Texts{"/a"});
  EXPECT_EQ(PathsIn("File1=/a\n", Shared("a.PLS")), Texts{"/a"});
  EXPECT_EQ(PathsIn("\n#EXTM3U\nFile1=/a\n", pls), Texts{"File1=/a"});
  EXPECT_EQ(PathsIn("File1=/a\n"), Texts{"File1=/a"});
  EXPECT_EQ(PathsIn("#EXTM3U\n/a\n", pls), Texts{"/a"});
}

TEST_F(Content, KeepsItsFormat) {
  EXPECT_EQ(Appended("[playlist]\nFile1=/a\nNumberOfEntries=1\n"),
            "[playlist]\nFile1=/a\nFile2=/n\nTitle2=A - T\nLength2=5\nNumberOfEntries=2\n");
  EXPECT_EQ(Appended("", Shared("a.pls")),
            "[playlist]\nFile1=/n\nTitle1=A - T\nLength1=5\nNumberOfEntries=1\n");
  EXPECT_EQ(Appended("#EXTM3U\n", Shared("a.pls")), "#EXTM3U\n#EXTINF:5,A - T\n/n\n");
  EXPECT_EQ(Appended("/a"), "/a\n#EXTINF:5,A - T\n/n\n");
}

TEST_F(Content, OfUtf16IsReadAndBecomesUtf8) {
  for (const bool is_big_endian : {false, true}) {
    const std::string m3u = Utf16("#EXTM3U\r\n/a\r\n# kept\r\n/b", is_big_endian);
    EXPECT_EQ(PathsIn(m3u), (Texts{"/a", "/b"}));
    EXPECT_EQ(Appended(m3u), "#EXTM3U\r\n/a\r\n# kept\r\n/b\n#EXTINF:5,A - T\n/n\n");
    PlaylistContent content(m3u, Shared("a.m3u"));
    EXPECT_EQ(Text(content.Reduced({0})), "#EXTM3U\r\n# kept\r\n/b");
    const std::string pls = Utf16("[playlist]\nFile1=/a\nNumberOfEntries=1\n", is_big_endian);
    EXPECT_EQ(PathsIn(pls), Texts{"/a"});
    EXPECT_EQ(Appended(pls),
              "[playlist]\nFile1=/a\nFile2=/n\nTitle2=A - T\nLength2=5\nNumberOfEntries=2\n");
  }
}

TEST_F(Content, StaysM3uWhenALineThatTellsOfAnotherFormatComesFirst) {
  for (const std::string second :
       {"[playlist]\n", " [Playlist] ", "\xFF\xFE.mp3\n", "\n[playlist]", "\xFE\xFF"}) {
    const std::string bytes = "/first\n" + second;
    PlaylistContent content(bytes, Shared("a.m3u"));
    EXPECT_EQ(Text(content.Reduced({0})), "#EXTM3U\n" + second);
    EXPECT_EQ(Text(content.Spliced(0, 1, "")), "#EXTM3U\n" + second);
  }
  PlaylistContent ordinary("/first\n/second\n", Shared("a.m3u"));
  EXPECT_EQ(Text(ordinary.Reduced({0})), "/second\n");
}

TEST_F(Content, WithLinesThatEndInReturnsIsReadAndBecomesOneOfLineFeeds) {
  EXPECT_EQ(PathsIn("#EXTM3U\r/a\r/b\r"), (Texts{"/a", "/b"}));
  EXPECT_EQ(Appended("#EXTM3U\r/a\r/b\r"), "#EXTM3U\n/a\n/b\r\n#EXTINF:5,A - T\n/n\n");
  EXPECT_EQ(Appended("[playlist]\rFile1=/a\rNumberOfEntries=1"),
            "[playlist]\nFile1=/a\nFile2=/n\nTitle2=A - T\nLength2=5\nNumberOfEntries=2");
}

TEST_F(Content, KeepsAFileWhoseNameHoldsAReturn) {
  const std::string song = library() + "/a\rb.mp3";
  EXPECT_EQ(PathsIn(song + "\n/c\n"), (Texts{library() + "/a", "b.mp3", "/c"}));
  WriteBytes(song, "");
  EXPECT_EQ(PathsIn(song + "\n/c\r/d\n"), (Texts{song, "/c", "/d"}));
}

TEST_F(Content, ThatIsNoTextIsRefused) {
  for (const std::string &bytes : {"\0"s, "#EXTM3U\n/a\0\n"s, "#EXTM3U\n/a\n"s + '\0',
                                   Utf16("/a\0"s, true), "\xFF\xFE\0\0a\0\0\0"s}) {
    EXPECT_THROW(PlaylistContent(bytes, Shared("a.m3u")), UnreadableError);
  }
}

TEST_F(Content, NeverHasMoreEntriesThanItMay) {
  const std::string song = "/a\n";
  std::string full;
  for (std::size_t i = 0; i < kMaxEntries; ++i) {
    full += song;
  }
  PlaylistContent content(full, Shared("a.m3u"));
  EXPECT_THROW((void)content.Appended(song), UnreadableError);
  EXPECT_THROW((void)content.Spliced(5, 5, song), UnreadableError);
  EXPECT_EQ(Text(content.Spliced(5, 6, song)), full);
  PlaylistContent one_less(std::string_view(full).substr(song.size()), Shared("a.m3u"));
  EXPECT_EQ(Text(one_less.Appended(song)), full);
  const std::string too_many = full + song;
  PlaylistContent over(too_many, Shared("a.m3u"));
  EXPECT_THROW((void)over.size(), UnreadableError);
  EXPECT_THROW((void)over.Reduced({0}), UnreadableError);
}

TEST_F(Content, OfALineWithoutEndTakesNoLongerThanReadingIt) {
  const std::string noise(std::size_t{64} << 20, 'x');
  const std::string bytes = "#EXTM3U\n/a\n" + noise + "\n#EXTINF:" + noise + "\n/b\n";
  EXPECT_EQ(PathsIn(bytes), (Texts{"/a", "/b"}));
  EXPECT_EQ(Appended(bytes).size(), bytes.size() + std::string("#EXTINF:5,A - T\n/n\n").size());
}

} // namespace
} // namespace vexo::playlists
