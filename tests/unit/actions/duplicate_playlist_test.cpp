#include "actions/duplicate_playlist.h"

#include "unit/actions/action_test.h"

namespace {

using recording::Song;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr const char *kSharedSource = "musiclib_music_shared/playlist/12";
constexpr const char *kPersonalSource = "musiclib_music_personal/playlist/12";

class DuplicatePlaylist : public ActionTest {
protected:
  void SetUp() override {
    ActionTest::SetUp();
    WriteBytes(source_, "");
    host().records["VEXOPlayListListGetByID"] = {Song(12, source_)};
    host().texts["VEXOPlaylistTitleGet"] = "Road";
    host().texts["VEXOPlaylistPathGet"] = source_;
    host().texts["VEXOPlaylistTitleGetByPath"] = "Road";
    host().records["ParsePlayListByFieldGivenPath"] = {Song(1, "/a"), Song(2, "/b")};
  }
  void TearDown() override {
    EXPECT_EQ(host().open_rows, 0);
    ActionTest::TearDown();
  }

  std::string Duplicate(const std::string &id, const std::string &overwrite = "false") {
    return Run(&PlaylistHandler::HandleDuplicate, {{"id", id}, {"overwrite", overwrite}});
  }

  std::string source_ = root() + "/source.m3u";
};

TEST_F(DuplicatePlaylist, RefusesARequestWithoutId) {
  EXPECT_EQ(Run(&PlaylistHandler::HandleDuplicate, {}), kSystemError);
  EXPECT_THAT(host().Messages(), ElementsAre("Bad parameter."));
}

TEST_F(DuplicatePlaylist, AnswersNothingToAnIdWithoutSlash) {
  EXPECT_EQ(Duplicate("musiclib_random"), "null");
  EXPECT_THAT(host().Effects(), ElementsAre("PrintResponse()"));
}

TEST_F(DuplicatePlaylist, OfNoIdIsRefused) {
  const WebMan request;
  Json::Value response;
  DuplicateNormalPlaylist(request, response, nullptr);
  EXPECT_THAT(host().Effects(),
              ElementsAre("syslog(Bad parameter.)", "SetError(\"common\", \"error_system\")"));
}

TEST_F(DuplicatePlaylist, OfASharedOneGoesIntoThePersonalLibrary) {
  host().personal_library = true;
  const std::string path = personal() + "/playlists/Road.m3u";
  EXPECT_EQ(Duplicate(kSharedSource),
            CopyAnswer("musiclib_music_personal/playlist/31", "musiclib_music_personal"));
  EXPECT_THAT(
      host().Effects(),
      ElementsAre("GetUserIdFromName(\"anna\")", "VEXOPlayListListGetByID(\"shared\", 7, \"12\")",
                  "VEXOPlaylistTitleGet(\"12\", 4096, rows [12])", "VEXOPlayListFree(rows [12])",
                  "GetPersonalLibraryFolderPath(\"anna\", 4096)",
                  "VEXOWriteMusicPlaylist(null, \"" + path + "\")",
                  "ParsePlayListByFieldGivenPath(\"" + source_ + "\", 0, 0, \"*\", 7)",
                  "VEXOWriteMusicPlaylist([1 /a, 2 /b], \"" + path + "\")",
                  "VEXOPlaylistRecFree([1 /a, 2 /b])",
                  "PersonalLibraryInfoDBSave(3, {path=\"" + path +
                      "\", title=\"Road\", album=\"playlists\"}, 7)",
                  "VEXOPlaylistIDGet(\"personal\", 7, \"" + path + "\", 4096)",
                  "EncodeHtml(\"Road\", false)", "SetSuccess(true)", "PrintResponse()"));
}

TEST_F(DuplicatePlaylist, OfASharedOneGoesIntoThePreferenceFolder) {
  EXPECT_EQ(Duplicate(kSharedSource),
            CopyAnswer("musiclib_music_personal/playlist/Road", "musiclib_music_personal"));
  EXPECT_TRUE(Exists(preferences() + "/playlists/Road.m3u"));
  for (const char *call : {"PersonalLibraryInfoDBSave", "VEXOPlaylistDBSave", "VEXOPlaylistIDGet",
                           "GetPersonalLibraryFolderPath"}) {
    EXPECT_THAT(host().Calls(call), IsEmpty());
  }
}

TEST_F(DuplicatePlaylist, OfAPersonalLibraryGoesIntoTheSharedOne) {
  host().personal_library = true;
  const std::string path = library() + "/playlists/Road.m3u";
  EXPECT_EQ(Duplicate(kPersonalSource),
            CopyAnswer("musiclib_music_shared/playlist/31", "musiclib_music_shared"));
  EXPECT_THAT(host().Effects(),
              ElementsAre("GetUserIdFromName(\"anna\")",
                          "VEXOPlaylistPathGet(\"personal\", 7, 12, 4096)",
                          "VEXOPlaylistTitleGetByPath(\"" + source_ + "\", 4096, 7)",
                          "VEXOWriteMusicPlaylist(null, \"" + path + "\")",
                          "ParsePlayListByFieldGivenPath(\"" + source_ + "\", 0, 0, \"*\", 7)",
                          "VEXOWriteMusicPlaylist([1 /a, 2 /b], \"" + path + "\")",
                          "VEXOPlaylistRecFree([1 /a, 2 /b])",
                          "VEXOPlaylistDBSave({path=\"" + path +
                              "\", title=\"Road\", album=\"playlists\"})",
                          "VEXOPlaylistIDGet(\"shared\", 7, \"" + path + "\", 4096)",
                          "EncodeHtml(\"Road\", false)", "SetSuccess(true)", "PrintResponse()"));
}

TEST_F(DuplicatePlaylist, OfAPreferenceFolderGoesIntoTheSharedLibrary) {
  std::filesystem::create_directory(preferences() + "/playlists");
  WriteBytes(preferences() + "/playlists/Road.m3u", "");
  EXPECT_EQ(Duplicate("musiclib_music_personal/playlist/Road"),
            CopyAnswer("musiclib_music_shared/playlist/31", "musiclib_music_shared"));
  EXPECT_THAT(host().Calls("ParsePlayListByFieldGivenPath"),
              ElementsAre("ParsePlayListByFieldGivenPath(\"" + preferences() +
                          "/playlists/Road.m3u\", 0, 0, \"*\", 7)"));
  EXPECT_THAT(host().Calls("VEXOPlaylistPathGet"), IsEmpty());
}

TEST_F(DuplicatePlaylist, FailsWithoutTheSharedSource) {
  host().results["VEXOPlayListListGetByID"] = {-1};
  EXPECT_EQ(Duplicate(kSharedSource), kSystemError);
  EXPECT_THAT(host().Messages(), ElementsAre("The playlist with id: 12 does not exist."));
  EXPECT_THAT(host().Calls("VEXOPlaylistTitleGet"), IsEmpty());
}

TEST_F(DuplicatePlaylist, FailsWhenTheSharedSourceHasNoRow) {
  host().records["VEXOPlayListListGetByID"].clear();
  EXPECT_EQ(Duplicate(kSharedSource), kSystemError);
  EXPECT_THAT(host().Messages(), ElementsAre("The playlist with id: 12 does not exist."));
}

TEST_F(DuplicatePlaylist, FailsWhenTheSharedSourceHasNoTitle) {
  host().results["VEXOPlaylistTitleGet"] = {-1};
  EXPECT_EQ(Duplicate(kSharedSource), kSystemError);
  EXPECT_THAT(host().Messages(), ElementsAre("The playlist with id: 12 does not exist."));
}

TEST_F(DuplicatePlaylist, AnswersNothingWithoutPathOrTitleOfAPersonalOne) {
  host().personal_library = true;
  for (const char *call : {"VEXOPlaylistTitleGetByPath", "VEXOPlaylistPathGet"}) {
    host().results[call] = {-1};
    EXPECT_EQ(Duplicate(kPersonalSource), "null");
    EXPECT_THAT(host().Messages(), ElementsAre("Failed to get playlist path.")) << call;
  }
  EXPECT_THAT(host().Calls("VEXOPlaylistTitleGetByPath"), IsEmpty());
}

TEST_F(DuplicatePlaylist, FailsWithoutThePersonalSourcesFile) {
  EXPECT_EQ(Duplicate("musiclib_music_personal/playlist/none"), kSystemError);
  EXPECT_THAT(host().Messages(), ElementsAre("The playlist with id: none does not exist."));
  host().personal_library = true;
  std::filesystem::remove(source_);
  EXPECT_EQ(Duplicate(kPersonalSource), kSystemError);
  EXPECT_THAT(host().Messages(), ElementsAre("The playlist with id: 12 does not exist."));
}

TEST_F(DuplicatePlaylist, CopiesASharedSourceWithoutFileAsAnEmptyOne) {
  std::filesystem::remove(source_);
  host().records.erase("ParsePlayListByFieldGivenPath");
  EXPECT_EQ(Duplicate(kSharedSource),
            CopyAnswer("musiclib_music_personal/playlist/Road", "musiclib_music_personal"));
}

TEST_F(DuplicatePlaylist, FailsWithoutThePersonalFolder) {
  host().personal_library = true;
  host().personal_folder = "";
  EXPECT_EQ(Duplicate(kSharedSource), kSystemError);
  EXPECT_THAT(host().Messages(),
              ElementsAre("Failed to get personal library folder of user [anna]"));
}

TEST_F(DuplicatePlaylist, FailsWithoutTheMusicLink) {
  host().personal_library = true;
  std::filesystem::remove(root() + "/var/services/music");
  EXPECT_EQ(Duplicate(kPersonalSource), kSystemError);
  EXPECT_THAT(host().Messages(),
              ElementsAre("Failed to read link of " + root() + "/var/services/music"));
}

TEST_F(DuplicatePlaylist, LogsTheErrorOfAFolderThatCannotBeMade) {
  host().personal_folder = root() + "/none";
  for (const bool enabled : {false, true}) {
    host().personal_library = enabled;
    host().preference_folder = root() + "/none";
    EXPECT_EQ(Duplicate(kSharedSource), kSystemError);
    EXPECT_THAT(host().Messages(),
                ElementsAre("Failed to create directory No such file or directory."));
  }
}

TEST_F(DuplicatePlaylist, LogsTheErrorOfASharedFolderThatCannotBeMade) {
  host().personal_library = true;
  std::filesystem::remove_all(library());
  EXPECT_EQ(Duplicate(kPersonalSource), kSystemError);
  EXPECT_THAT(host().Messages(),
              ElementsAre("Failed to create directory No such file or directory."));
}

TEST_F(DuplicatePlaylist, KeepsADanglingLinkInThePreferenceFolder) {
  std::filesystem::create_symlink(root() + "/nowhere", preferences() + "/playlists");
  EXPECT_EQ(Duplicate(kSharedSource), kSystemError);
  EXPECT_THAT(host().Messages(), ElementsAre("Failed to create directory File exists."));
  EXPECT_TRUE(std::filesystem::is_symlink(preferences() + "/playlists"));
}

TEST_F(DuplicatePlaylist, MakesTheFolderWithEveryPermission) {
  umask(022);
  Duplicate(kSharedSource);
  EXPECT_EQ(ModeOf(preferences() + "/playlists"), 0777U);
  EXPECT_EQ(umask(0), 0U);
}

TEST_F(DuplicatePlaylist, RefusesANameThatExists) {
  Duplicate(kSharedSource);
  for (const char *overwrite : {"false", "TRUE", "1"}) {
    EXPECT_EQ(Duplicate(kSharedSource, overwrite), kNameExists);
    EXPECT_THAT(host().Messages(), IsEmpty());
    EXPECT_THAT(host().Calls("VEXOWriteMusicPlaylist"), IsEmpty());
  }
}

TEST_F(DuplicatePlaylist, ThatOverwritesSavesNoRow) {
  host().personal_library = true;
  const std::string path = personal() + "/playlists/Road.m3u";
  Duplicate(kSharedSource);
  EXPECT_EQ(Duplicate(kSharedSource, "true"),
            CopyAnswer("musiclib_music_personal/playlist/31", "musiclib_music_personal"));
  EXPECT_THAT(host().Calls("VEXOWriteMusicPlaylist"),
              ElementsAre("VEXOWriteMusicPlaylist(null, \"" + path + "\")",
                          "VEXOWriteMusicPlaylist([1 /a, 2 /b], \"" + path + "\")"));
  EXPECT_THAT(host().Calls("PersonalLibraryInfoDBSave"), IsEmpty());
  EXPECT_EQ(host().Calls("VEXOPlaylistIDGet").size(), 1U);
}

TEST_F(DuplicatePlaylist, ThatOverwritesNothingNeedsARowAllTheSame) {
  host().personal_library = true;
  host().results["VEXOPlaylistIDGet"] = {-1};
  EXPECT_EQ(Duplicate(kSharedSource, "true"), kSystemError);
  EXPECT_THAT(host().Messages(), ElementsAre("Failed to get playlist id from playlist table."));
  EXPECT_THAT(host().Calls("PersonalLibraryInfoDBSave"), IsEmpty());
  EXPECT_TRUE(Exists(personal() + "/playlists/Road.m3u")) << "the new file stays";
}

TEST_F(DuplicatePlaylist, FailsWhenTheEmptyFileCannotBeWritten) {
  host().results["VEXOWriteMusicPlaylist"] = {-1};
  EXPECT_EQ(Duplicate(kSharedSource), kSystemError);
  EXPECT_THAT(host().Messages(),
              ElementsAre("Failed to create playlist " + preferences() + "/playlists/Road.m3u"));
  EXPECT_THAT(host().Calls("ParsePlayListByFieldGivenPath"), IsEmpty());
}

TEST_F(DuplicatePlaylist, FailsWhenTheSongsCannotBeWritten) {
  host().results["VEXOWriteMusicPlaylist"] = {0, -1};
  EXPECT_EQ(Duplicate(kSharedSource), kSystemError);
  EXPECT_THAT(host().Messages(), ElementsAre("Failed to write songs into playlist."));
  EXPECT_TRUE(Exists(preferences() + "/playlists/Road.m3u")) << "the empty one stays";
}

TEST_F(DuplicatePlaylist, FailsSilentlyWhenTheRowCannotBeSaved) {
  host().personal_library = true;
  host().results["VEXOPlaylistDBSave"] = {-1};
  host().results["PersonalLibraryInfoDBSave"] = {-1};
  for (const char *id : {kSharedSource, kPersonalSource}) {
    EXPECT_EQ(Duplicate(id), kSystemError);
    EXPECT_THAT(host().Messages(), IsEmpty());
    EXPECT_THAT(host().Calls("VEXOPlaylistIDGet"), IsEmpty());
  }
}

TEST_F(DuplicatePlaylist, ResolvesBothPaths) {
  std::filesystem::create_symlink(source_, root() + "/link.m3u");
  host().records["VEXOPlayListListGetByID"] = {Song(12, root() + "/link.m3u")};
  std::filesystem::create_directory_symlink(preferences(), root() + "/prefs");
  host().preference_folder = root() + "/prefs";
  Duplicate(kSharedSource);
  EXPECT_THAT(host().Calls("ParsePlayListByFieldGivenPath"),
              ElementsAre("ParsePlayListByFieldGivenPath(\"" + source_ + "\", 0, 0, \"*\", 7)"));
  EXPECT_THAT(
      host().Calls("VEXOWriteMusicPlaylist"),
      ElementsAre("VEXOWriteMusicPlaylist(null, \"" + root() + "/prefs/playlists/Road.m3u\")",
                  "VEXOWriteMusicPlaylist([1 /a, 2 /b], \"" + preferences() +
                      "/playlists/Road.m3u\")"));
}

} // namespace
