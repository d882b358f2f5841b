// Names in a folder whose lock another process keeps.
#include "unit/actions/action_test.h"
#include <ctime>
#include <fcntl.h>
#include <sys/file.h>

namespace {

bool pauses_are_skipped = false;

} // namespace

extern "C" {
int __real_nanosleep(const timespec *pause, timespec *left);
int __wrap_nanosleep(const timespec *pause, timespec *left);
int __wrap_nanosleep(const timespec *pause, timespec *left) {
  return pauses_are_skipped ? 0 : __real_nanosleep(pause, left);
}
}

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class BusyFolder : public ActionTest {
protected:
  void SetUp() override {
    ActionTest::SetUp();
    std::filesystem::create_directories(folder_);
    holder_ = open(folder_.c_str(), O_RDONLY | O_DIRECTORY);
    ASSERT_EQ(flock(holder_, LOCK_EX), 0);
    pauses_are_skipped = true;
  }
  void TearDown() override {
    pauses_are_skipped = false;
    close(holder_);
    ActionTest::TearDown();
  }

  std::string folder_ = preferences() + "/playlists";
  int holder_ = -1;
};

TEST_F(BusyFolder, TakesNoNewPlaylist) {
  EXPECT_EQ(Run(&PlaylistHandler::HandleAdd, {{"name", "Road"}}), kSystemError);
  EXPECT_THAT(host().Messages(), ElementsAre("Failed to create playlist " + folder_ + "/Road.m3u"));
  EXPECT_THAT(host().Calls("VEXOWriteMusicPlaylist"), IsEmpty());
}

TEST_F(BusyFolder, TakesNoNewName) {
  WriteBytes(folder_ + "/Road.m3u", "x");
  EXPECT_EQ(Run(&PlaylistHandler::HandleSavePlsName,
                {{"id", "musiclib_music_personal/playlist/Road"}, {"name", "Trip"}}),
            kSystemError);
  EXPECT_THAT(host().Messages(), ElementsAre("Failed to rename to new playlist name."));
  EXPECT_EQ(ReadBytes(folder_ + "/Road.m3u"), "x");
  EXPECT_FALSE(Exists(folder_ + "/Trip.m3u"));
}

TEST_F(BusyFolder, StillTellsThatANameIsTaken) {
  WriteBytes(folder_ + "/Road.m3u", "x");
  EXPECT_EQ(Run(&PlaylistHandler::HandleAdd, {{"name", "Road"}}), kNameExists);
}

} // namespace
