#include "unit/actions/action_test.h"
#include <ctime>

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// Works in another folder until its end.
class WorkingFolder {
public:
  explicit WorkingFolder(const std::string &folder) : before_(std::filesystem::current_path()) {
    std::filesystem::current_path(folder);
  }
  ~WorkingFolder() { std::filesystem::current_path(before_); }
  WorkingFolder(const WorkingFolder &) = delete;
  WorkingFolder &operator=(const WorkingFolder &) = delete;

private:
  std::filesystem::path before_;
};

class RenamePlaylist : public ActionTest {
protected:
  void SetUp() override {
    ActionTest::SetUp();
    std::filesystem::create_directories(folder_);
    std::filesystem::create_directories(preferences() + "/playlists");
  }

  /// Renames a shared playlist whose file is `path`.
  std::string RenameShared(const std::string &path, const std::string &name) {
    host().texts["VEXOPlaylistPathGet"] = path;
    return Run(&PlaylistHandler::HandleSavePlsName,
               {{"id", "musiclib_music_shared/playlist/31"}, {"name", name}});
  }

  std::string RenamePreferred(const std::string &old_name, const std::string &name) {
    return Run(&PlaylistHandler::HandleSavePlsName,
               {{"id", "musiclib_music_personal/playlist/" + old_name}, {"name", name}});
  }

  std::string folder_ = library() + "/playlists";
  std::string old_ = folder_ + "/Road.m3u";
};

constexpr const char *kRenamed =
    R"({"id":"musiclib_music_shared/playlist/31","name":"Trip","success":true})";

TEST_F(RenamePlaylist, OfALibraryMovesTheFileAndRewritesTheRow) {
  WriteBytes(old_, "12345");
  EXPECT_EQ(RenameShared(old_, "Trip"), kRenamed);
  EXPECT_EQ(ReadBytes(folder_ + "/Trip.m3u"), "12345");
  EXPECT_FALSE(Exists(old_));
  EXPECT_THAT(host().Effects(),
              ElementsAre("GetUserIdFromName(\"anna\")",
                          "VEXOPlaylistPathGet(\"shared\", 7, 31, 4096)",
                          "VEXOPlaylistDBUpdate(\"shared\", 7, {id=31, path=\"" + folder_ +
                              "/Trip.m3u\", title=\"Trip\", album=\"playlists\", size=5}, \"" +
                              old_ + "\")",
                          "SetSuccess(true)", "PrintResponse()"));
  struct stat status {};
  ASSERT_EQ(stat((folder_ + "/Trip.m3u").c_str(), &status), 0);
  EXPECT_EQ(host().saved[0].changeTime, std::string(std::ctime(&status.st_ctime)));
  EXPECT_EQ(host().saved[0].modificationTime, std::string(std::ctime(&status.st_mtime)));
}

TEST_F(RenamePlaylist, OfAPersonalLibraryAsksForThePersonalRow) {
  host().personal_library = true;
  WriteBytes(old_, "");
  host().texts["VEXOPlaylistPathGet"] = old_;
  Run(&PlaylistHandler::HandleSavePlsName,
      {{"id", "musiclib_music_personal/playlist/31x"}, {"name", "Trip"}});
  EXPECT_THAT(host().Calls("VEXOPlaylistPathGet"),
              ElementsAre("VEXOPlaylistPathGet(\"personal\", 7, 31, 4096)"));
  EXPECT_EQ(host().Calls("VEXOPlaylistDBUpdate").size(), 1U);
}

TEST_F(RenamePlaylist, OfAPreferenceFolderMovesTheFileOnly) {
  WriteBytes(preferences() + "/playlists/Road.m3u", "12345");
  EXPECT_EQ(RenamePreferred("Road", "Trip"),
            R"({"id":"musiclib_music_personal/playlist/Road","name":"Trip","success":true})");
  EXPECT_EQ(ReadBytes(preferences() + "/playlists/Trip.m3u"), "12345");
  EXPECT_FALSE(Exists(preferences() + "/playlists/Road.m3u"));
  EXPECT_THAT(host().Effects(),
              ElementsAre("GetUserIdFromName(\"anna\")", "SetSuccess(true)", "PrintResponse()"));
}

TEST_F(RenamePlaylist, RefusesARequestWithoutIdOrName) {
  for (const char *missing : {"id", "name"}) {
    std::map<std::string, std::string> parameters = {{"id", "a/31"}, {"name", "Trip"}};
    parameters.erase(missing);
    EXPECT_EQ(Run(&PlaylistHandler::HandleSavePlsName, parameters), kSystemError) << missing;
    EXPECT_THAT(host().Messages(), ElementsAre("Bad parameter."));
  }
}

TEST_F(RenamePlaylist, RefusesANameOf251BytesBeforeAnythingIsTouched) {
  WriteBytes(old_, "");
  EXPECT_EQ(RenameShared(old_, std::string(251, 'n')), kNameTooLong);
  EXPECT_THAT(host().Messages(), IsEmpty());
  EXPECT_THAT(host().Calls("VEXOPlaylistPathGet"), IsEmpty());
  EXPECT_TRUE(Exists(old_));
}

TEST_F(RenamePlaylist, TakesANameOf250Bytes) {
  WriteBytes(old_, "");
  RenameShared(old_, std::string(250, 'n'));
  EXPECT_TRUE(Exists(folder_ + "/" + std::string(250, 'n') + ".m3u"));
}

TEST_F(RenamePlaylist, OfAPlaylistThatIsGoneSucceedsWithoutMembers) {
  EXPECT_EQ(RenameShared(old_, "Trip"), kSuccess);
  EXPECT_THAT(host().Messages(), ElementsAre("Playlist does not exist."));
  EXPECT_EQ(RenamePreferred("Road", "Trip"), kSuccess);
  EXPECT_THAT(host().Messages(), ElementsAre("Playlist does not exist."));
}

TEST_F(RenamePlaylist, TakesAFailedLookUpAsAPlaylistThatIsGone) {
  WriteBytes(old_, "");
  host().results["VEXOPlaylistPathGet"] = {-1};
  EXPECT_EQ(RenameShared(old_, "Trip"), kSuccess);
  EXPECT_THAT(host().Messages(), ElementsAre("Playlist does not exist."));
  EXPECT_TRUE(Exists(old_));
}

TEST_F(RenamePlaylist, KeepsTheExtensionOfALibrarysFile) {
  WriteBytes(folder_ + "/Road.live.M3U", "x");
  EXPECT_EQ(RenameShared(folder_ + "/Road.live.M3U", "Trip"), kRenamed);
  EXPECT_EQ(ReadBytes(folder_ + "/Trip.M3U"), "x");
}

TEST_F(RenamePlaylist, OfAFileWithoutExtensionLogsThatAndTakesM3u) {
  const WorkingFolder here(library());
  WriteBytes("playlists/Road", "x");
  std::filesystem::create_directories("a/b");
  WriteBytes("a/b/Road", "x");
  EXPECT_EQ(RenameShared("a/b/Road", "Trip"), kRenamed);
  EXPECT_THAT(host().Messages(), ElementsAre("Bad playlist name [a/b/Road]."));
  EXPECT_EQ(ReadBytes("a/b/Trip.m3u"), "x");
  EXPECT_EQ(host().saved[0].album, std::string("b"));
}

TEST_F(RenamePlaylist, TakesTheExtensionFromTheLastDotOfTheWholePath) {
  std::filesystem::create_directories(library() + "/a.b");
  WriteBytes(library() + "/a.b/Road", "x");
  EXPECT_EQ(RenameShared(library() + "/a.b/Road", "Trip"), kSystemError);
  EXPECT_THAT(host().Messages(), ElementsAre("Failed to rename to new playlist name."))
      << "the new name would be Trip.b/Road";
}

TEST_F(RenamePlaylist, OfAPathWithoutFolderFails) {
  const WorkingFolder here(library());
  WriteBytes("Road.m3u", "x");
  EXPECT_EQ(RenameShared("Road.m3u", "Trip"), kSystemError);
  EXPECT_THAT(host().Messages(), ElementsAre("Bad playlist name Road.m3u."));
  EXPECT_TRUE(Exists("Road.m3u"));
}

TEST_F(RenamePlaylist, OfAFolderWithoutParentFailsWithTheFileMoved) {
  const WorkingFolder here(library());
  WriteBytes("playlists/Road.m3u", "x");
  EXPECT_EQ(RenameShared("playlists/Road.m3u", "Trip"), kSystemError);
  EXPECT_THAT(host().Messages(), ElementsAre("Bad playlist name playlists/Road.m3u."));
  EXPECT_TRUE(Exists("playlists/Trip.m3u"));
  EXPECT_THAT(host().Calls("VEXOPlaylistDBUpdate"), IsEmpty());
}

TEST_F(RenamePlaylist, RefusesANameThatExists) {
  WriteBytes(old_, "old");
  WriteBytes(folder_ + "/Trip.m3u", "trip");
  EXPECT_EQ(RenameShared(old_, "Trip"), kNameExists);
  EXPECT_THAT(host().Messages(), IsEmpty());
  EXPECT_EQ(ReadBytes(folder_ + "/Trip.m3u"), "trip");
  EXPECT_EQ(ReadBytes(old_), "old");
  WriteBytes(preferences() + "/playlists/a.m3u", "");
  WriteBytes(preferences() + "/playlists/b.m3u", "");
  EXPECT_EQ(RenamePreferred("a", "b"), kNameExists);
}

TEST_F(RenamePlaylist, RefusesItsOwnName) {
  WriteBytes(old_, "");
  EXPECT_EQ(RenameShared(old_, "Road"), kNameExists);
}

TEST_F(RenamePlaylist, TakesOnlyTheTailOfANameInAPreferenceFolder) {
  WriteBytes(preferences() + "/playlists/Road.m3u", "x");
  std::filesystem::create_directory(preferences() + "/playlists/sub");
  EXPECT_EQ(RenamePreferred("Road", "sub/Trip"),
            R"({"id":"musiclib_music_personal/playlist/Road","name":"sub/Trip","success":true})");
  EXPECT_EQ(ReadBytes(preferences() + "/playlists/Trip.m3u"), "x");
}

TEST_F(RenamePlaylist, MovesALibrarysFileIntoASubfolderThatItsNameHas) {
  WriteBytes(old_, "x");
  EXPECT_EQ(RenameShared(old_, "sub/Trip"), kSystemError);
  EXPECT_THAT(host().Messages(), ElementsAre("Failed to rename to new playlist name."));
  std::filesystem::create_directory(folder_ + "/sub");
  RenameShared(old_, "sub/Trip");
  EXPECT_EQ(ReadBytes(folder_ + "/sub/Trip.m3u"), "x");
  EXPECT_EQ(host().saved[0].title, std::string("sub/Trip"));
  EXPECT_EQ(host().saved[0].album, std::string("playlists"));
}

TEST_F(RenamePlaylist, MovesTheFileBackWhenTheRowCannotBeWritten) {
  WriteBytes(old_, "12345");
  host().results["VEXOPlaylistDBUpdate"] = {-1};
  EXPECT_EQ(RenameShared(old_, "Trip"), "null") << "neither success nor an error";
  EXPECT_THAT(host().Messages(), IsEmpty());
  EXPECT_EQ(ReadBytes(old_), "12345");
  EXPECT_FALSE(Exists(folder_ + "/Trip.m3u"));
}

TEST_F(RenamePlaylist, FailsWhenTheFileVanishesUnderItsNewName) {
  // A link to nowhere passes for a name that is free, and is renamed away.
  std::filesystem::create_directory(folder_ + "/sub");
  WriteBytes(folder_ + "/sub/target", "x");
  std::filesystem::create_symlink("target", folder_ + "/sub/Road.m3u");
  EXPECT_EQ(RenameShared(folder_ + "/sub/Road.m3u", "../Trip"), kSystemError);
  EXPECT_THAT(host().Messages(), ElementsAre("Failed to stat new name pls"));
  EXPECT_THAT(host().Calls("VEXOPlaylistDBUpdate"), IsEmpty());
}

TEST_F(RenamePlaylist, HoldsTheFolderUntilTheOldNameIsGivenUp) {
  WriteBytes(old_, "");
  bool free = true;
  host().on["VEXOPlaylistDBUpdate"] = [&](const recording::Event & /*event*/) {
    free = IsFree(folder_);
  };
  RenameShared(old_, "Trip");
  EXPECT_FALSE(free);
  EXPECT_TRUE(IsFree(folder_));
}

TEST_F(RenamePlaylist, HoldsTheSubfolderThatANewNameIsIn) {
  std::filesystem::create_directory(folder_ + "/sub");
  WriteBytes(old_, "");
  bool free = true;
  host().on["VEXOPlaylistDBUpdate"] = [&](const recording::Event & /*event*/) {
    free = IsFree(folder_ + "/sub");
  };
  RenameShared(old_, "sub/Trip");
  EXPECT_FALSE(free);
}

} // namespace
