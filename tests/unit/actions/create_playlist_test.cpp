// What the actions that create playlists have in common.
#include "unit/actions/create_test.h"
#include <ctime>

namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST_F(CreatePlaylist, InTheSharedLibraryMakesFolderFileRowAndSongs) {
  const std::string path = library() + "/playlists/Road.m3u";
  const Creator &add = kCreators[0];
  EXPECT_EQ(Create(add, {{"name", "Road"}, {"type", "shared"}}),
            NodeAnswer("musiclib_music_shared/playlist/31"));
  EXPECT_THAT(host().Effects(),
              ElementsAre("GetUserIdFromName(\"anna\")",
                          "VEXOWriteMusicPlaylist(null, \"" + path + "\")",
                          "VEXOPlaylistDBSave({path=\"" + path +
                              "\", title=\"Road\", album=\"playlists\"})",
                          "VEXOPlaylistIDGet(\"shared\", 7, \"" + path + "\", 4096)",
                          "VEXOMusicListGetByID(\"shared\", 0, \"12\")",
                          "VEXOWriteMusicPlaylist([12 /twelve.mp3], \"" + path + "\")",
                          "EncodeHtml(\"Road\", false)", "SetSuccess(true)",
                          "VEXOPlaylistRecFree([12 /twelve.mp3])", "PrintResponse()"));
  EXPECT_THAT(host().Messages(), IsEmpty());
}

TEST_F(CreatePlaylist, InAPersonalLibrarySavesAPersonalRow) {
  host().personal_library = true;
  const std::string path = personal() + "/playlists/Road.m3u";
  for (const Creator &creator : kCreators) {
    Forget(personal());
    EXPECT_EQ(Create(creator, {{"name", "Road"}}),
              NodeAnswer("musiclib_music_personal/playlist/31"))
        << creator.description;
    EXPECT_THAT(host().Calls("PersonalLibraryInfoDBSave"),
                ElementsAre("PersonalLibraryInfoDBSave(3, {path=\"" + path +
                            "\", title=\"Road\", album=\"playlists\"}, 7)"));
    EXPECT_THAT(host().Calls("VEXOPlaylistIDGet"),
                ElementsAre("VEXOPlaylistIDGet(\"personal\", 7, \"" + path + "\", 4096)"));
    EXPECT_THAT(host().Calls("VEXOPlaylistDBSave"), IsEmpty());
  }
}

TEST_F(CreatePlaylist, InAPreferenceFolderTouchesNoDatabase) {
  const std::string path = preferences() + "/playlists/Road.m3u";
  for (const Creator &creator : kCreators) {
    Forget(preferences());
    EXPECT_EQ(Create(creator, {{"name", "Road"}}),
              NodeAnswer("musiclib_music_personal/playlist/Road"))
        << creator.description;
    EXPECT_THAT(host().Calls("VEXOWriteMusicPlaylist"),
                ElementsAre("VEXOWriteMusicPlaylist(null, \"" + path + "\")",
                            std::string("VEXOWriteMusicPlaylist(") + creator.songs + ", \"" + path +
                                "\")"));
    for (const char *call : {"PersonalLibraryInfoDBSave", "VEXOPlaylistDBSave", "VEXOPlaylistIDGet",
                             "GetPersonalLibraryFolderPath"}) {
      EXPECT_THAT(host().Calls(call), IsEmpty());
    }
  }
}

TEST_F(CreatePlaylist, RefusesARequestWithoutARequiredParameter) {
  for (const Creator &creator : kCreators) {
    for (const char *missing : {"name", "target", "category", "keyword"}) {
      std::map<std::string, std::string> parameters = creator.parameters;
      parameters["name"] = "Road";
      if (parameters.erase(missing) == 0) {
        continue;
      }
      EXPECT_EQ(Run(creator.run, parameters), kSystemError)
          << creator.description << " without " << missing;
      EXPECT_THAT(host().Messages(), ElementsAre("Bad parameter."));
      EXPECT_FALSE(Exists(preferences() + "/playlists"));
    }
  }
}

TEST_F(CreatePlaylist, RefusesANameOf251BytesBeforeAnythingIsTouched) {
  for (const Creator &creator : kCreators) {
    EXPECT_EQ(Create(creator, {{"name", std::string(251, 'n')}}), kNameTooLong)
        << creator.description;
    EXPECT_THAT(host().Messages(), IsEmpty());
    EXPECT_FALSE(Exists(preferences() + "/playlists"));
    EXPECT_THAT(host().Calls("VEXOWriteMusicPlaylist"), IsEmpty());
  }
}

TEST_F(CreatePlaylist, TakesANameOf250Bytes) {
  const std::string name(250, 'n');
  for (const Creator &creator : kCreators) {
    Forget(preferences());
    Create(creator, {{"name", name}});
    EXPECT_TRUE(Exists(preferences() + "/playlists/" + name + ".m3u")) << creator.description;
  }
}

TEST_F(CreatePlaylist, IsPersonalForAnyTypeButShared) {
  for (const char *type : {"Shared", "SHARED", "personal", "", "shared ", "x"}) {
    Forget(preferences());
    EXPECT_EQ(Create(kCreators[0], {{"name", "Road"}, {"type", type}}),
              NodeAnswer("musiclib_music_personal/playlist/Road"))
        << type;
  }
}

TEST_F(CreatePlaylist, FailsWithoutTheMusicLink) {
  std::filesystem::remove(root() + "/var/services/music");
  for (const Creator &creator : kCreators) {
    EXPECT_EQ(Create(creator, {{"name", "Road"}, {"type", "shared"}}), kSystemError);
    EXPECT_THAT(host().Messages(),
                ElementsAre("Failed to read link of " + root() + "/var/services/music"))
        << creator.description;
  }
}

TEST_F(CreatePlaylist, TakesTheLinksTargetAsItIs) {
  std::filesystem::remove(root() + "/var/services/music");
  std::filesystem::create_symlink(library() + "/../library", root() + "/var/services/music");
  Create(kCreators[0], {{"name", "Road"}, {"type", "shared"}});
  EXPECT_THAT(host().Calls("VEXOPlaylistIDGet"),
              ElementsAre("VEXOPlaylistIDGet(\"shared\", 7, \"" + library() +
                          "/../library/playlists/Road.m3u\", 4096)"));
  EXPECT_THAT(host().Calls("VEXOWriteMusicPlaylist"),
              Contains("VEXOWriteMusicPlaylist([12 /twelve.mp3], \"" + library() +
                       "/playlists/Road.m3u\")"))
      << "songs go to the resolved path";
}

TEST_F(CreatePlaylist, FailsWithoutAPersonalFolder) {
  host().personal_library = true;
  host().personal_folder = "";
  for (const Creator &creator : kCreators) {
    EXPECT_EQ(Create(creator, {{"name", "Road"}}), kSystemError);
    EXPECT_THAT(host().Messages(),
                ElementsAre("Failed to get personal library folder of user [anna]"))
        << creator.description;
  }
}

TEST_F(CreatePlaylist, MakesTheFolderWithEveryPermission) {
  umask(022);
  Create(kCreators[0], {{"name", "Road"}});
  EXPECT_EQ(ModeOf(preferences() + "/playlists"), 0777U);
  EXPECT_EQ(umask(0), 0U) << "the mask stays off";
}

TEST_F(CreatePlaylist, LeavesTheMaskWhenTheFolderIsThere) {
  std::filesystem::create_directory(preferences() + "/playlists");
  umask(022);
  Create(kCreators[0], {{"name", "Road"}});
  EXPECT_EQ(umask(0), 022U);
}

TEST_F(CreatePlaylist, LogsTheErrorOfAFolderThatCannotBeMade) {
  host().preference_folder = root() + "/none";
  std::filesystem::remove_all(library());
  for (const Creator &creator : kCreators) {
    for (const char *type : {"shared", "personal"}) {
      EXPECT_EQ(Create(creator, {{"name", "Road"}, {"type", type}}), kSystemError);
      EXPECT_THAT(host().Messages(),
                  ElementsAre("Failed to create directory No such file or directory."))
          << creator.description << " " << type;
      EXPECT_THAT(host().Calls("VEXOWriteMusicPlaylist"), IsEmpty());
    }
  }
}

TEST_F(CreatePlaylist, OfAddLogsThePersonalFolderThatCannotBeMade) {
  host().personal_library = true;
  host().personal_folder = root() + "/none";
  for (const Creator &creator : kCreators) {
    EXPECT_EQ(Create(creator, {{"name", "Road"}}), kSystemError);
    EXPECT_THAT(host().Messages(),
                ElementsAre(creator.logs_personal_folder
                                ? "Failed to create directory " + root() +
                                      "/none/playlists. No such file or directory"
                                : "Failed to create directory No such file or directory."))
        << creator.description;
  }
}

TEST_F(CreatePlaylist, ReplacesADanglingLinkInAPreferenceFolder) {
  for (const Creator &creator : kCreators) {
    Forget(preferences());
    std::filesystem::create_symlink(root() + "/nowhere", preferences() + "/playlists");
    EXPECT_EQ(Create(creator, {{"name", "Road"}}),
              NodeAnswer("musiclib_music_personal/playlist/Road"))
        << creator.description;
    EXPECT_TRUE(std::filesystem::is_directory(
        std::filesystem::symlink_status(preferences() + "/playlists")));
  }
}

TEST_F(CreatePlaylist, KeepsADanglingLinkInALibrary) {
  host().personal_library = true;
  std::filesystem::create_symlink(root() + "/nowhere", library() + "/playlists");
  std::filesystem::create_symlink(root() + "/nowhere", personal() + "/playlists");
  EXPECT_EQ(Create(kCreators[2], {{"name", "Road"}, {"type", "shared"}}), kSystemError);
  EXPECT_THAT(host().Messages(), ElementsAre("Failed to create directory File exists."));
  EXPECT_EQ(Create(kCreators[0], {{"name", "Road"}}), kSystemError);
  EXPECT_THAT(host().Messages(),
              ElementsAre("Failed to create directory " + personal() + "/playlists. File exists"));
  EXPECT_TRUE(std::filesystem::is_symlink(library() + "/playlists"));
}

TEST_F(CreatePlaylist, LeavesAPlainFileInTheFoldersPlace) {
  WriteBytes(preferences() + "/playlists", "mine");
  host().results["VEXOWriteMusicPlaylist"] = {-1};
  EXPECT_EQ(Create(kCreators[0], {{"name", "Road"}}), kSystemError);
  EXPECT_THAT(host().Messages(),
              ElementsAre("Failed to create playlist " + preferences() + "/playlists/Road.m3u"));
  EXPECT_EQ(ReadBytes(preferences() + "/playlists"), "mine");
}

TEST_F(CreatePlaylist, RefusesANameThatExists) {
  std::filesystem::create_directory(preferences() + "/playlists");
  WriteBytes(preferences() + "/playlists/Road.m3u", "");
  for (const Creator &creator : kCreators) {
    for (const char *overwrite : {"false", "TRUE", "True", "1", ""}) {
      EXPECT_EQ(Create(creator, {{"name", "Road"}, {"overwrite", overwrite}}), kNameExists)
          << creator.description << " " << overwrite;
      EXPECT_THAT(host().Messages(), IsEmpty());
      EXPECT_THAT(host().Calls("VEXOWriteMusicPlaylist"), IsEmpty());
    }
  }
}

TEST_F(CreatePlaylist, FailsWhenTheEmptyFileCannotBeWritten) {
  host().results["VEXOWriteMusicPlaylist"] = {-1};
  for (const Creator &creator : kCreators) {
    Forget(preferences());
    EXPECT_EQ(Create(creator, {{"name", "Road"}}), kSystemError) << creator.description;
    EXPECT_THAT(host().Messages(),
                ElementsAre("Failed to create playlist " + preferences() + "/playlists/Road.m3u"));
    EXPECT_EQ(host().Calls("VEXOWriteMusicPlaylist").size(), 1U);
  }
}

TEST_F(CreatePlaylist, FailsSilentlyWhenTheRowCannotBeSaved) {
  host().results["VEXOPlaylistDBSave"] = {-1};
  host().results["PersonalLibraryInfoDBSave"] = {-1};
  host().personal_library = true;
  for (const char *type : {"shared", "personal"}) {
    EXPECT_EQ(Create(kCreators[0], {{"name", "Road"}, {"type", type}}), kSystemError);
    EXPECT_THAT(host().Messages(), IsEmpty());
    EXPECT_THAT(host().Calls("VEXOPlaylistIDGet"), IsEmpty());
  }
  EXPECT_TRUE(Exists(library() + "/playlists/Road.m3u")) << "nothing is undone";
}

TEST_F(CreatePlaylist, TakesAnyOtherResultOfTheSaveAsSuccess) {
  host().results["VEXOPlaylistDBSave"] = {1};
  EXPECT_EQ(Create(kCreators[0], {{"name", "Road"}, {"type", "shared"}}),
            NodeAnswer("musiclib_music_shared/playlist/31"));
}

TEST_F(CreatePlaylist, GivesTheRowTheTimesAndSizeOfTheFile) {
  host().on["VEXOWriteMusicPlaylist"] = [&](const recording::Event & /*event*/) {
    WriteBytes(library() + "/playlists/Road.m3u", "#EXTM3U\n");
  };
  Create(kCreators[0], {{"name", "Road"}, {"type", "shared"}});
  struct stat status {};
  ASSERT_EQ(stat((library() + "/playlists/Road.m3u").c_str(), &status), 0);
  ASSERT_EQ(host().saved.size(), 1U);
  EXPECT_EQ(host().saved[0].size, 8U);
  EXPECT_EQ(host().saved[0].modificationTime, std::string(std::ctime(&status.st_mtime)));
  EXPECT_EQ(host().saved[0].changeTime, std::string(std::ctime(&status.st_ctime)));
}

TEST_F(CreatePlaylist, LeavesTimesAndSizeOutWhenItCannotFindThem) {
  host().on.clear();
  Create(kCreators[0], {{"name", "Road"}, {"type", "shared"}});
  ASSERT_EQ(host().saved.size(), 1U);
  EXPECT_STREQ(host().saved[0].modificationTime, "");
  EXPECT_STREQ(host().saved[0].changeTime, "");
}

TEST_F(CreatePlaylist, FailsWhenTheIdCannotBeRead) {
  host().results["VEXOPlaylistIDGet"] = {-1};
  for (const Creator &creator : kCreators) {
    Forget(library());
    EXPECT_EQ(Create(creator, {{"name", "Road"}, {"type", "shared"}}), kSystemError);
    EXPECT_THAT(host().Messages(), ElementsAre("Failed to get playlist id from playlist table."))
        << creator.description;
    EXPECT_EQ(host().Calls("VEXOWriteMusicPlaylist").size(), 1U) << "no songs are written";
  }
}

TEST_F(CreatePlaylist, OverwritesTheSongsOnly) {
  std::filesystem::create_directory(library() + "/playlists");
  const std::string path = library() + "/playlists/Road.m3u";
  WriteBytes(path, "");
  for (const Creator &creator : kCreators) {
    EXPECT_EQ(Create(creator, {{"name", "Road"}, {"type", "shared"}, {"overwrite", "true"}}),
              NodeAnswer("musiclib_music_shared/playlist/31"))
        << creator.description;
    EXPECT_THAT(host().Calls("VEXOWriteMusicPlaylist"),
                ElementsAre(std::string("VEXOWriteMusicPlaylist(") + creator.songs + ", \"" + path +
                            "\")"));
    EXPECT_THAT(host().Calls("VEXOPlaylistDBSave"), IsEmpty());
    EXPECT_EQ(host().Calls("VEXOPlaylistIDGet").size(), 1U);
  }
}

TEST_F(CreatePlaylist, OverwritesNothingThatHasNoRow) {
  host().results["VEXOPlaylistIDGet"] = {-1};
  EXPECT_EQ(Create(kCreators[0], {{"name", "Road"}, {"type", "shared"}, {"overwrite", "true"}}),
            kSystemError);
  EXPECT_THAT(host().Messages(), ElementsAre("Failed to get playlist id from playlist table."));
  EXPECT_THAT(host().Calls("VEXOWriteMusicPlaylist"), IsEmpty());
  EXPECT_FALSE(Exists(library() + "/playlists/Road.m3u"));
}

TEST_F(CreatePlaylist, OfAPathThatCannotBeResolvedWritesToItAsItIs) {
  EXPECT_EQ(Create(kCreators[0], {{"name", "Road"}, {"type", "shared"}, {"overwrite", "true"}}),
            NodeAnswer("musiclib_music_shared/playlist/31"));
  EXPECT_THAT(host().Calls("VEXOWriteMusicPlaylist"),
              ElementsAre("VEXOWriteMusicPlaylist([12 /twelve.mp3], \"" + library() +
                          "/playlists/Road.m3u\")"));
}

TEST_F(CreatePlaylist, FailsWhenTheSongsCannotBeWrittenAndLeavesTheEmptyOne) {
  host().results["VEXOWriteMusicPlaylist"] = {0, -1};
  for (const Creator &creator : kCreators) {
    Forget(library());
    host().results["VEXOWriteMusicPlaylist"] = {0, -1};
    EXPECT_EQ(Create(creator, {{"name", "Road"}, {"type", "shared"}}), kSystemError);
    EXPECT_THAT(host().Messages(), ElementsAre("Failed to write songs into playlist."))
        << creator.description;
    EXPECT_THAT(host().Calls("VEXOPlaylistRecFree"),
                ElementsAre(std::string("VEXOPlaylistRecFree(") + creator.songs + ")"));
    EXPECT_TRUE(Exists(library() + "/playlists/Road.m3u"));
  }
}

TEST_F(CreatePlaylist, WithASlashInItsNameLeadsIntoASubfolder) {
  std::filesystem::create_directories(preferences() + "/playlists/sub");
  Create(kCreators[0], {{"name", "sub/Road"}});
  EXPECT_THAT(
      host().Calls("VEXOWriteMusicPlaylist"),
      Contains("VEXOWriteMusicPlaylist(null, \"" + preferences() + "/playlists/sub/Road.m3u\")"));
}

TEST_F(CreatePlaylist, HoldsTheFolderOfTheFileWhileItTakesTheName) {
  std::filesystem::create_directories(preferences() + "/playlists/sub");
  const struct {
    const char *name;
    std::string folder;
  } rows[] = {{"Road", preferences() + "/playlists"},
              {"sub/Road", preferences() + "/playlists/sub"}};
  for (const auto &row : rows) {
    std::vector<bool> free;
    host().on["VEXOWriteMusicPlaylist"] = [&](const recording::Event & /*event*/) {
      free.push_back(IsFree(row.folder));
    };
    Create(kCreators[0], {{"name", row.name}});
    EXPECT_THAT(free, ElementsAre(false, true))
        << "locked for the empty file, free again for the songs of " << row.name;
  }
}

} // namespace
