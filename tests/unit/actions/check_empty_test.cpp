#include "unit/actions/action_test.h"

namespace {

using recording::Song;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr const char *kEmpty = R"({"isEmpty":true,"success":true})";
constexpr const char *kNotEmpty = R"({"isEmpty":false,"success":true})";
constexpr const char *kFailed =
    R"({"error":{"key":"error_system","section":"common"},"isEmpty":true,"success":false})";

class CheckEmpty : public ActionTest {
protected:
  std::string Check(const std::string &id) {
    return Run(&PlaylistHandler::HandleCheckEmpty, {{"playlist", id}});
  }

  /// Makes normal playlists known, with a file of two songs.
  void KnowPlaylist() {
    host().records["VEXOPlayListListGetByID"] = {Song(31, "/Road.m3u")};
    host().records["ParsePlayListByFieldGivenPath"] = {Song(1, "/a"), Song(2, "/b")};
  }
};

TEST_F(CheckEmpty, RefusesARequestWithoutPlaylist) {
  EXPECT_EQ(Run(&PlaylistHandler::HandleCheckEmpty, {}), kFailed);
  EXPECT_THAT(host().Effects(), ElementsAre("GetUserIdFromName(\"anna\")", "syslog(Bad parameter.)",
                                            "SetError(\"common\", \"error_system\")",
                                            "SetSuccess(false)", "PrintResponse()"));
}

TEST_F(CheckEmpty, NeverFindsTheRandomPlaylistEmpty) {
  EXPECT_EQ(Check("musiclib_random"), kNotEmpty);
  EXPECT_THAT(host().Effects(),
              ElementsAre("GetUserIdFromName(\"anna\")", "SetSuccess(true)", "PrintResponse()"));
}

TEST_F(CheckEmpty, KnowsTheRandomPlaylistByItsWholeId) {
  EXPECT_EQ(Check("musiclib_random2"), kFailed);
  EXPECT_EQ(Check("MUSICLIB_RANDOM"), kFailed);
}

TEST_F(CheckEmpty, CountsASharedPlaylistForNobody) {
  KnowPlaylist();
  EXPECT_EQ(Check("musiclib_music_shared/playlist/31"), kNotEmpty);
  EXPECT_THAT(host().Calls("VEXOPlayListListGetByID"),
              ElementsAre("VEXOPlayListListGetByID(\"shared\", 0, \"31\")"));
  EXPECT_THAT(host().Calls("ParsePlayListByFieldGivenPath"),
              ElementsAre("ParsePlayListByFieldGivenPath(\"/Road.m3u\", 0, 0, \"*\", 7)"));
  EXPECT_EQ(host().open_rows, 0);
}

TEST_F(CheckEmpty, CountsAPersonalPlaylistForItsUser) {
  KnowPlaylist();
  host().personal_library = true;
  EXPECT_EQ(Check("musiclib_music_personal/playlist/31"), kNotEmpty);
  EXPECT_THAT(host().Calls("VEXOPlayListListGetByID"),
              ElementsAre("VEXOPlayListListGetByID(\"personal\", 7, \"31\")"));
}

TEST_F(CheckEmpty, CountsAPreferenceFoldersPlaylistByItsPath) {
  KnowPlaylist();
  EXPECT_EQ(Check("musiclib_music_personal/playlist/Road"), kNotEmpty);
  EXPECT_THAT(host().Calls("VEXOPlayListListGetByID"), IsEmpty());
  EXPECT_THAT(host().Calls("ParsePlayListByFieldGivenPath"),
              ElementsAre("ParsePlayListByFieldGivenPath(\"" + preferences() +
                          "/playlists/Road.m3u\", 0, 0, \"*\", 7)"));
}

TEST_F(CheckEmpty, FindsAPlaylistWithoutSongsEmpty) {
  KnowPlaylist();
  host().records["ParsePlayListByFieldGivenPath"].clear();
  EXPECT_EQ(Check("musiclib_music_shared/playlist/31"), kEmpty);
}

TEST_F(CheckEmpty, FindsAFileThatCannotBeReadEmpty) {
  EXPECT_EQ(Check("musiclib_music_personal/playlist/none"), kEmpty);
  EXPECT_THAT(host().Messages(), IsEmpty());
}

TEST_F(CheckEmpty, FailsForAPlaylistThatHasNoRow) {
  EXPECT_EQ(Check("musiclib_music_shared/playlist/31"), kFailed);
  EXPECT_THAT(host().Messages(), ElementsAre("The playlist with id: 31 does not exist."));
  host().personal_library = true;
  EXPECT_EQ(Check("musiclib_music_personal/playlist/x"), kFailed);
  EXPECT_THAT(host().Messages(), ElementsAre("The playlist with id: x does not exist."));
  EXPECT_THAT(host().Calls("ParsePlayListByFieldGivenPath"), IsEmpty());
}

TEST_F(CheckEmpty, TakesAnIdWithoutSlashAsASharedPlaylist) {
  KnowPlaylist();
  EXPECT_EQ(Check("whole"), kNotEmpty);
  EXPECT_THAT(host().Calls("VEXOPlayListListGetByID"),
              ElementsAre("VEXOPlayListListGetByID(\"shared\", 0, \"whole\")"));
}

TEST_F(CheckEmpty, CountsASharedSmartPlaylistByTheHostsRules) {
  host().records["SmartPLSListSongs"] = {Song(1, "/a")};
  EXPECT_EQ(Check("musiclib_music_shared/smart/Loud"), kNotEmpty);
  EXPECT_THAT(host().Calls("SmartPLSListSongs"),
              ElementsAre("SmartPLSListSongs(\"Loud\", 0, 0, null, false)"));
}

TEST_F(CheckEmpty, CountsAPersonalSmartPlaylistByTheUsersRules) {
  host().records["SmartPLSListSongs"] = {};
  EXPECT_EQ(Check("musiclib_music_personal/smartlist/Loud"), kEmpty);
  EXPECT_THAT(host().Calls("SmartPLSListSongs"),
              ElementsAre("SmartPLSListSongs(\"Loud\", 0, 0, \"" + preferences() +
                          "/playlists/smart.playlist\", false)"));
}

TEST_F(CheckEmpty, FindsAnUnknownSmartPlaylistEmpty) {
  EXPECT_EQ(Check("musiclib_music_shared/smart/none"), kEmpty);
  EXPECT_THAT(host().Messages(), IsEmpty());
}

} // namespace
