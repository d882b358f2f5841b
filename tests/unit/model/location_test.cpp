#include "model/location.h"

#include "recording_platform/host_test.h"
#include "support/temporary_folder.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class Location : public recording::HostTest {
protected:
  WebMan request_;
};

TEST_F(Location, KnowsTheUserByNameAndId) {
  const PlaylistLocation location = LocationOfUser(request_);
  EXPECT_EQ(location.user, "anna");
  EXPECT_EQ(location.user_id, 7);
  EXPECT_THAT(host().Effects(), ElementsAre("GetUserIdFromName(\"anna\")"));
}

TEST_F(Location, HasThreeKinds) {
  EXPECT_EQ(StorageKindOf(false, "anna"), StorageKind::kShared);
  EXPECT_THAT(host().Calls("IsPersonalLibEnabled"), IsEmpty());
  EXPECT_EQ(StorageKindOf(true, "anna"), StorageKind::kPreferenceFolder);
  host().personal_library = true;
  EXPECT_EQ(StorageKindOf(true, "anna"), StorageKind::kPersonalLibrary);
  EXPECT_EQ(host().Calls("IsPersonalLibEnabled").back(), "IsPersonalLibEnabled(\"anna\")");
}

TEST_F(Location, NamesItsLibraryAndKnowsWhetherItHasRows) {
  const struct {
    StorageKind kind;
    const char *library;
    bool row;
  } rows[] = {{StorageKind::kShared, "shared", true},
              {StorageKind::kPersonalLibrary, "personal", true},
              {StorageKind::kPreferenceFolder, "personal", false}};
  for (const auto &row : rows) {
    PlaylistLocation location;
    location.kind = row.kind;
    EXPECT_STREQ(location.Library(), row.library);
    EXPECT_EQ(location.HasRow(), row.row);
    EXPECT_EQ(location.IsShared(), row.kind == StorageKind::kShared);
  }
}

TEST_F(Location, PutsFilesIntoTheFolderPlaylists) {
  EXPECT_EQ(PlaylistsFolder("/r"), "/r/playlists");
  EXPECT_EQ(PlaylistFilePath("/r", "Road"), "/r/playlists/Road.m3u");
  EXPECT_EQ(PlaylistFilePath("/r", "a/b"), "/r/playlists/a/b.m3u");
  EXPECT_EQ(PersonalSmartRules(request_), preferences() + "/playlists/smart.playlist");
}

TEST_F(Location, IsInTheFolderBeforeTheLastSlash) {
  EXPECT_EQ(FolderOf("/r/playlists/a.m3u"), "/r/playlists");
  EXPECT_EQ(FolderOf("/a.m3u"), "");
  EXPECT_EQ(FolderOf("a.m3u"), "");
}

TEST_F(Location, CutsPathsThatAreTooLong) {
  const std::string longer(5000, 'r');
  EXPECT_EQ(PlaylistsFolder(longer), longer.substr(0, 4095));
  EXPECT_EQ(PlaylistFilePath("/", longer).size(), 4095U);
  const std::string fits(4096 - 1 - std::string("//playlists/.m3u").size(), 'r');
  EXPECT_EQ(PlaylistFilePath("/", fits), "//playlists/" + fits + ".m3u");
  EXPECT_EQ(PlaylistFilePath("/", fits + "x"), "//playlists/" + fits + "x.m3");
}

TEST_F(Location, ResolvesAllLinksOfAPath) {
  WriteBytes(library() + "/a", "");
  EXPECT_EQ(ResolvedPath(root() + "/var/services/music/a"), library() + "/a");
  EXPECT_EQ(ResolvedPath(library() + "/./a"), library() + "/a");
}

TEST_F(Location, TakesAPathAsItIsThatCannotBeResolved) {
  EXPECT_EQ(ResolvedPath(library() + "/./none"), library() + "/./none");
  EXPECT_EQ(ResolvedPath(""), "");
}

TEST_F(Location, AllowsNamesOf250Bytes) {
  EXPECT_FALSE(IsNameTooLong(""));
  EXPECT_FALSE(IsNameTooLong(std::string(250, 'n').c_str()));
  EXPECT_TRUE(IsNameTooLong(std::string(251, 'n').c_str()));
  std::string umlauts;
  for (int i = 0; i < 126; ++i) {
    umlauts += "\xC3\xA4";
  }
  EXPECT_TRUE(IsNameTooLong(umlauts.c_str())) << "bytes count, not characters";
}

} // namespace
