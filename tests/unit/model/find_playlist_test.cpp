#include "model/find_playlist.h"

#include "recording_platform/host_test.h"

namespace {

using recording::Song;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class FindPlaylistTest : public recording::HostTest {
protected:
  bool Find(const char *node_id) {
    location_ = LocationOfUser(request_);
    return FindPlaylist(request_, node_id, location_, rows_, response_);
  }
  void TearDown() override {
    rows_.reset();
    HostTest::TearDown();
  }

  WebMan request_;
  PlaylistLocation location_;
  PlaylistRows rows_;
  Json::Value response_;
};

TEST_F(FindPlaylistTest, LooksASharedOneUpForNobody) {
  host().records["VEXOPlayListListGetByID"] = {Song(12, "/a.m3u"), Song(13, "/b.m3u")};
  EXPECT_TRUE(Find("musiclib_music_shared/playlist/12"));
  EXPECT_EQ(location_.kind, StorageKind::kShared);
  EXPECT_EQ(location_.path, "/a.m3u");
  EXPECT_THAT(host().Calls("VEXOPlayListListGetByID"),
              ElementsAre("VEXOPlayListListGetByID(\"shared\", 0, \"12\")"));
  EXPECT_EQ(host().open_rows, 2) << "the rows are the caller's";
}

TEST_F(FindPlaylistTest, LooksAPersonalOneUpForTheUser) {
  host().personal_library = true;
  host().records["VEXOPlayListListGetByID"] = {Song(12, "/a.m3u")};
  EXPECT_TRUE(Find("musiclib_music_personal/playlist/12"));
  EXPECT_EQ(location_.kind, StorageKind::kPersonalLibrary);
  EXPECT_THAT(host().Calls("VEXOPlayListListGetByID"),
              ElementsAre("VEXOPlayListListGetByID(\"personal\", 7, \"12\")"));
}

TEST_F(FindPlaylistTest, NamesTheFileOfOneWithoutARowWithoutLookingForIt) {
  EXPECT_TRUE(Find("musiclib_music_personal/playlist/Late Night"));
  EXPECT_EQ(location_.kind, StorageKind::kPreferenceFolder);
  EXPECT_EQ(location_.path, preferences() + "/playlists/Late Night.m3u");
  EXPECT_THAT(host().Calls("VEXOPlayListListGetByID"), IsEmpty());
}

TEST_F(FindPlaylistTest, TellsThatThereIsNoSuchRow) {
  EXPECT_FALSE(Find("musiclib_music_shared/playlist/99"));
  EXPECT_THAT(host().Messages(), ElementsAre("The playlist with id: 99 does not exist."));
  EXPECT_EQ(response_["error"]["key"], "error_system");
  EXPECT_EQ(host().error_line, host().log[0].line) << "both tell the same source line";
}

TEST_F(FindPlaylistTest, TreatsAnEmptyListOfRowsAsNone) {
  host().records["VEXOPlayListListGetByID"] = {};
  EXPECT_FALSE(Find("musiclib_music_shared/playlist/99"));
  EXPECT_THAT(host().Messages(), ElementsAre("The playlist with id: 99 does not exist."));
}

} // namespace
