// Playlists in XML.
#include "catalog/exported_songs.h"
#include "catalog/import.h"
#include "catalog/xspf.h"
#include <gtest/gtest.h>

namespace vexo::catalog {
namespace {

std::string InTrackList(const std::string &tracks) {
  return "<playlist xmlns='http://xspf.org/ns/0/'><trackList>" + tracks + "</trackList></playlist>";
}

TEST(Xspf, IsReadAsOthersWriteIt) {
  const auto tracks = ParseXspf(InTrackList(
      "<track><location>\n a%20b </location><location>c</location><title>&lt;&#228;</title>"
      "<creator>A</creator><album>B</album><duration>1500</duration></track>"
      "<track><title>x<i>y</i></title><x:title xmlns:x='y'>no</x:title><duration>-1</duration>"
      "</track><track/>"));
  ASSERT_EQ(tracks.size(), 3U);
  EXPECT_EQ(tracks[0].location, "a%20b");
  EXPECT_EQ(tracks[0].title, "<\xC3\xA4");
  EXPECT_EQ(tracks[0].artist, "A");
  EXPECT_EQ(tracks[0].album, "B");
  EXPECT_DOUBLE_EQ(tracks[0].duration_seconds, 1.5);
  EXPECT_EQ(tracks[1].title, "xy");
  EXPECT_DOUBLE_EQ(tracks[1].duration_seconds, 0);
  EXPECT_EQ(tracks[2].location, "");
}

TEST(Xspf, HasTracksOnlyWhereTheyBelong) {
  EXPECT_EQ(ParseXspf("<playlist><track/><x><trackList><track/></trackList></x></playlist>").size(),
            0U);
  EXPECT_EQ(ParseXspf("<playlist><trackList><track><track/></track></trackList></playlist>").size(),
            1U);
  EXPECT_EQ(ParseXspf("<playlist/>").size(), 0U);
}

TEST(Xspf, ThatIsNoneIsRefused) {
  const std::string deep = "<playlist>" + [] {
    std::string open;
    for (int i = 0; i < 40; ++i) {
      open += "<a>";
    }
    return open;
  }();
  for (const std::string &text :
       {std::string(""), std::string("a"), std::string("<a/>"), std::string("<playlist>"), deep,
        std::string("<playlist xmlns='http://other/'/>"),
        std::string("<!DOCTYPE playlist><playlist/>"),
        std::string("<!DOCTYPE p [<!ENTITY a 'b'>]><playlist>&a;</playlist>"),
        std::string("<playlist>&a;</playlist>"), std::string("<playlist/><playlist/>")}) {
    EXPECT_THROW((void)ParseXspf(text), ForeignError) << text;
  }
}

TEST(Xspf, IsBounded) {
  const auto cut =
      ParseXspf(InTrackList("<track><title>" + std::string(10'000, 'a') + "</title></track>"));
  EXPECT_EQ(cut[0].title.size(), kLongestXspfText);
  std::string many;
  for (int i = 0; i < 100'001; ++i) {
    many += "<track/>";
  }
  EXPECT_THROW((void)ParseXspf(InTrackList(many)), ForeignError);
}

TEST(Xspf, ThatWasWrittenIsReadAgain) {
  const ExportedSong song{.location = "a b/\xC3\xA4 #1?%:[x].mp3",
                          .title = "\"<&>'\x01\xEF\xBF\xBE",
                          .artist = "A\tB",
                          .album = "C",
                          .track = 3,
                          .duration_seconds = 61.25};
  const auto tracks = ParseXspf(ToXspf({song}, "<&>"));
  ASSERT_EQ(tracks.size(), 1U);
  EXPECT_EQ(LocationOfUri(tracks[0].location), song.location);
  EXPECT_EQ(tracks[0].title, "\"<&>'");
  EXPECT_EQ(tracks[0].artist, "A\tB");
  EXPECT_DOUBLE_EQ(tracks[0].duration_seconds, 61.25);
}

TEST(Uri, StandsForAPathOrAnAddress) {
  struct Row {
    const char *uri, *location;
  };
  for (const Row &row :
       {Row{"file:///a%20b", "/a b"}, Row{"file://localhost/a", "/a"}, Row{"a%2fb", "a/b"},
        Row{"/a%20b", "/a b"}, Row{"http://a/b%20c", "http://a/b%20c"}, Row{"a%zz", "a%zz"},
        Row{"", ""}}) {
    EXPECT_EQ(LocationOfUri(row.uri), row.location) << row.uri;
  }
}

} // namespace
} // namespace vexo::catalog
