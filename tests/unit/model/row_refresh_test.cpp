#include "model/row_refresh.h"

#include "recording_platform/host_test.h"
#include "support/temporary_folder.h"
#include <climits>
#include <ctime>

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class UpdateRow : public recording::HostTest {
protected:
  void SetUp() override {
    HostTest::SetUp();
    WriteBytes(path_, "12345");
    host().records["MediaInfoDBGet"] = {recording::Song(12, path_, "Road")};
  }
  std::string path_ = root() + "/Road.m3u";
};

TEST_F(UpdateRow, WritesTheRowBackWithTheTimesAndSizeOfTheFile) {
  EXPECT_TRUE(UpdatePlaylistDBInfo("personal", 7, 12));
  EXPECT_THAT(host().Effects(),
              ElementsAre("AudioInfoDBOpen(\"personal\", 7, 3, \"*\", \"id = 12\", 0, 0, 0, 0)",
                          "MediaInfoDBGet()", "AudioInfoDBClose()",
                          "VEXOPlaylistDBUpdate(\"personal\", 7, {id=12, path=\"" + path_ +
                              "\", title=\"Road\", size=5}, 12)"));
  struct stat status {};
  ASSERT_EQ(stat(path_.c_str(), &status), 0);
  EXPECT_EQ(host().saved[0].changeTime, std::string(std::ctime(&status.st_ctime)));
  EXPECT_EQ(host().saved[0].modificationTime, std::string(std::ctime(&status.st_mtime)));
}

TEST_F(UpdateRow, RefusesIdsBelowOneAtOnce) {
  for (const int id : {0, -1, INT_MIN}) {
    host().log.clear();
    EXPECT_FALSE(UpdatePlaylistDBInfo("shared", 7, id));
    EXPECT_THAT(host().Messages(), ElementsAre("Bad parameter."));
  }
  EXPECT_THAT(host().Calls("AudioInfoDBOpen"), IsEmpty());
}

TEST_F(UpdateRow, FailsWhenTheQueryCannotBeOpened) {
  host().results["AudioInfoDBOpen"] = {0};
  EXPECT_FALSE(UpdatePlaylistDBInfo("shared", 7, 12));
  EXPECT_THAT(host().Messages(), ElementsAre("Failed to MediaInfoDBOpen."));
  EXPECT_THAT(host().Calls("AudioInfoDBClose"), IsEmpty());
}

TEST_F(UpdateRow, ClosesTheQueryThatHasNoRow) {
  host().results["MediaInfoDBGet"] = {-1};
  EXPECT_FALSE(UpdatePlaylistDBInfo("shared", 7, 12));
  EXPECT_THAT(host().Effects(),
              ElementsAre("AudioInfoDBOpen(\"shared\", 7, 3, \"*\", \"id = 12\", 0, 0, 0, 0)",
                          "MediaInfoDBGet()", "syslog(Failed to MediaInfoDBGet.)",
                          "AudioInfoDBClose()"));
}

TEST_F(UpdateRow, FailsWithTheSameTextWhenTheFileIsGone) {
  std::filesystem::remove(path_);
  EXPECT_FALSE(UpdatePlaylistDBInfo("shared", 7, 12));
  EXPECT_THAT(host().Messages(), ElementsAre("Failed to MediaInfoDBGet."));
  EXPECT_THAT(host().Calls("VEXOPlaylistDBUpdate"), IsEmpty());
  EXPECT_EQ(host().open_cursors, 0);
}

TEST_F(UpdateRow, FailsSilentlyWhenTheRowCannotBeWritten) {
  host().results["VEXOPlaylistDBUpdate"] = {-1};
  EXPECT_FALSE(UpdatePlaylistDBInfo("shared", 7, 12));
  EXPECT_THAT(host().Messages(), IsEmpty());
}

TEST_F(UpdateRow, TakesAnyOtherResultOfTheWriteAsSuccess) {
  host().results["VEXOPlaylistDBUpdate"] = {1};
  EXPECT_TRUE(UpdatePlaylistDBInfo("shared", 7, 12));
}

TEST(FileTimes, ThatNoCalendarKnowsAreEmpty) {
  struct stat status {};
  status.st_mtime = LONG_MAX;
  __tag_VEXO_MEDIA_INFO record{};
  SetFileTimes(record, status);
  EXPECT_STREQ(record.modificationTime, "");
  EXPECT_STRNE(record.changeTime, "");
}

} // namespace
