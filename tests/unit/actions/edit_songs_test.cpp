#include "unit/actions/action_test.h"

namespace {

using recording::Song;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// An action that edits, with the parameters that it needs besides the playlist.
struct Editor {
  const char *description;
  Action run;
  const char *id_parameter;
  std::map<std::string, std::string> parameters;
  const char *row_call;      ///< the host call for a playlist with a row ...
  const char *row_arguments; ///< ... and its arguments behind the id
  const char *file_call;     ///< the same for one without
  const char *file_arguments;
  const char *row_failure;
  const char *file_failure;
};

const Editor kEditors[] = {
    {"addsongs",
     &PlaylistHandler::HandleAddSongs,
     "playlist",
     {{"id_info_list", R"(["12", {"res": "/a.mp3"}])"}},
     "VEXOPlaylistAppendSongs",
     ", [12 /twelve.mp3, 0 /a.mp3], 2",
     "VEXOPersonalPlaylistAppendSongs",
     ", [12 /twelve.mp3, 0 /a.mp3], 2",
     "Failed to add songs into playlist.",
     "Failed to add songs into playlist."},
    {"update",
     &PlaylistHandler::HandleUpdate,
     "playlist",
     {{"id_info_list", R"(["12"])"}, {"start", "3"}, {"limit", "2"}},
     "VEXOPlaylistUpdateSongs",
     ", [12 /twelve.mp3], 3, 2",
     "VEXOPersonalPlaylistUpdateSongs",
     ", [12 /twelve.mp3], 3, 2",
     "Failed to update songs into playlist.",
     "Failed to remove songs from playlist."},
    {"removesongs",
     &PlaylistHandler::HandleRemoveSongs,
     "playlist",
     {{"seq_list", "4, 1,x"}},
     "VEXOPlaylistRemoveSongs",
     ", \"4, 1,x\"",
     "VEXOPersonalPlaylistRemoveSongs",
     ", \"4, 1,x\"",
     "Failed to remove songs from playlist.",
     "Failed to remove songs from playlist."},
    {"remove_missing",
     &PlaylistHandler::HandleRemoveMissing,
     "playlist_id",
     {},
     "VEXOPlaylistRemoveMissing",
     "",
     "VEXOPersonalPlaylistRemoveMissing",
     "",
     "Failed to remove missing files from playlist.",
     "Failed to remove songs from playlist."},
};

class EditSongs : public ActionTest {
protected:
  void SetUp() override {
    ActionTest::SetUp();
    const std::string path = library() + "/Road.m3u";
    WriteBytes(path, "");
    host().records["VEXOMusicListGetByID"] = {Song(12, "/twelve.mp3")};
    for (int i = 0; i < 20; ++i) {
      host().records["MediaInfoDBGet"].push_back(Song(31, path));
    }
  }

  std::string Edit(const Editor &editor, const std::string &id) {
    std::map<std::string, std::string> parameters = editor.parameters;
    parameters[editor.id_parameter] = id;
    return Run(editor.run, parameters);
  }
};

TEST_F(EditSongs, OfTheSharedLibraryGoByIdAndRefreshTheRow) {
  for (const Editor &editor : kEditors) {
    EXPECT_EQ(Edit(editor, "musiclib_music_shared/playlist/31"), kSuccess) << editor.description;
    EXPECT_THAT(host().Calls(editor.row_call),
                ElementsAre(std::string(editor.row_call) + "(\"shared\", 7, \"31\"" +
                            editor.row_arguments + ")"));
    EXPECT_THAT(host().Calls("AudioInfoDBOpen"),
                ElementsAre("AudioInfoDBOpen(\"shared\", 7, 3, \"*\", \"id = 31\", 0, 0, 0, 0)"));
    EXPECT_EQ(host().Calls("VEXOPlaylistDBUpdate").size(), 1U);
    EXPECT_THAT(host().Calls(editor.file_call), IsEmpty());
    EXPECT_THAT(host().Messages(), IsEmpty());
  }
}

TEST_F(EditSongs, OfAPersonalLibraryGoByIdAndRefreshTheRow) {
  host().personal_library = true;
  for (const Editor &editor : kEditors) {
    EXPECT_EQ(Edit(editor, "musiclib_music_personal/playlist/31"), kSuccess) << editor.description;
    EXPECT_THAT(host().Calls(editor.row_call),
                ElementsAre(std::string(editor.row_call) + "(\"personal\", 7, \"31\"" +
                            editor.row_arguments + ")"));
    EXPECT_THAT(host().Calls("AudioInfoDBOpen"),
                ElementsAre("AudioInfoDBOpen(\"personal\", 7, 3, \"*\", \"id = 31\", 0, 0, 0, 0)"));
  }
}

TEST_F(EditSongs, OfAPreferenceFolderGoByPathAndTouchNoDatabase) {
  for (const Editor &editor : kEditors) {
    EXPECT_EQ(Edit(editor, "musiclib_music_personal/playlist/12"), kSuccess) << editor.description;
    EXPECT_THAT(host().Calls(editor.file_call),
                ElementsAre(std::string(editor.file_call) + "(\"" + preferences() +
                            "/playlists/12.m3u\"" + editor.file_arguments + ")"));
    for (const char *call : {editor.row_call, "AudioInfoDBOpen", "VEXOPlaylistDBUpdate"}) {
      EXPECT_THAT(host().Calls(call), IsEmpty());
    }
  }
}

TEST_F(EditSongs, RefuseARequestWithoutARequiredParameter) {
  for (const Editor &editor : kEditors) {
    std::map<std::string, std::string> whole = editor.parameters;
    whole[editor.id_parameter] = "musiclib_music_shared/playlist/31";
    for (const auto &[missing, value] : whole) {
      std::map<std::string, std::string> parameters = whole;
      parameters.erase(missing);
      EXPECT_EQ(Run(editor.run, parameters), kSystemError)
          << editor.description << " without " << missing;
      EXPECT_THAT(host().Messages(), ElementsAre("Bad parameter."));
      EXPECT_THAT(host().Calls(editor.row_call), IsEmpty());
    }
  }
}

TEST_F(EditSongs, FailWhenTheCallOnARowFails) {
  for (const Editor &editor : kEditors) {
    host().results[editor.row_call] = {-1};
    EXPECT_EQ(Edit(editor, "musiclib_music_shared/playlist/31"), kSystemError);
    EXPECT_THAT(host().Messages(), ElementsAre(editor.row_failure)) << editor.description;
    EXPECT_THAT(host().Calls("AudioInfoDBOpen"), IsEmpty());
  }
}

TEST_F(EditSongs, FailWhenTheCallOnAFileFails) {
  for (const Editor &editor : kEditors) {
    host().results[editor.file_call] = {1};
    EXPECT_EQ(Edit(editor, "musiclib_music_personal/playlist/12"), kSystemError);
    EXPECT_THAT(host().Messages(), ElementsAre(editor.file_failure)) << editor.description;
  }
}

TEST_F(EditSongs, FailWhenTheRowCannotBeRefreshed) {
  host().results["VEXOPlaylistDBUpdate"] = {-1};
  for (const Editor &editor : kEditors) {
    const bool tells_another = std::string(editor.id_parameter) != "playlist";
    EXPECT_EQ(Edit(editor, "musiclib_music_shared/playlist/31"), kSystemError);
    EXPECT_THAT(host().Messages(),
                ElementsAre(std::string("Failed to update database info of playlist id:") +
                            (tells_another ? "0." : "31.")))
        << editor.description;
  }
}

TEST_F(EditSongs, OfMissingOnesTellTheNumberOfTheOtherParameter) {
  host().results["VEXOPlaylistDBUpdate"] = {-1};
  EXPECT_EQ(Run(&PlaylistHandler::HandleRemoveMissing,
                {{"playlist_id", "musiclib_music_shared/playlist/31"},
                 {"playlist", "musiclib_music_shared/playlist/44"}}),
            kSystemError);
  EXPECT_THAT(host().Calls("AudioInfoDBOpen"),
              ElementsAre("AudioInfoDBOpen(\"shared\", 7, 3, \"*\", \"id = 31\", 0, 0, 0, 0)"));
  EXPECT_THAT(host().Messages(), ElementsAre("Failed to update database info of playlist id:44."));
}

TEST_F(EditSongs, PassATailThatIsNoNumberAndThenFail) {
  for (const Editor &editor : kEditors) {
    EXPECT_EQ(Edit(editor, "musiclib_music_shared/playlist/abc"), kSystemError);
    EXPECT_THAT(host().Calls(editor.row_call),
                ElementsAre(std::string(editor.row_call) + "(\"shared\", 7, \"abc\"" +
                            editor.row_arguments + ")"));
    EXPECT_THAT(host().Messages(),
                ElementsAre("Bad parameter.", "Failed to update database info of playlist id:0."))
        << editor.description;
  }
}

TEST_F(EditSongs, AskForTheUserFirstAndReadTheListBeforeAnyEdit) {
  EXPECT_EQ(Edit(kEditors[1], "musiclib_music_shared/playlist/31"), kSuccess);
  const std::vector<std::string> effects = host().Effects();
  ASSERT_GE(effects.size(), 3U);
  EXPECT_EQ(effects[0], "GetUserIdFromName(\"anna\")");
  EXPECT_EQ(effects[1], "VEXOMusicListGetByID(\"shared\", 0, \"12\")");
  EXPECT_EQ(effects[2], "VEXOPlaylistUpdateSongs(\"shared\", 7, \"31\", [12 /twelve.mp3], 3, 2)");
  EXPECT_EQ(effects.back(), "PrintResponse()");
}

TEST_F(EditSongs, FailWithAListThatTheyCannotRead) {
  const struct {
    const char *list;
    const char *message;
  } rows[] = {
      {"[", "Failed to parse json."},
      {"{}", "id_info_list is not a Json array."},
      {R"([{"title": []}])", "Bad parameter."},
  };
  for (const char *id :
       {"musiclib_music_shared/playlist/31", "musiclib_music_personal/playlist/31"}) {
    for (const auto &row : rows) {
      for (const Action action :
           {&PlaylistHandler::HandleAddSongs, &PlaylistHandler::HandleUpdate}) {
        EXPECT_EQ(
            Run(action,
                {{"playlist", id}, {"id_info_list", row.list}, {"start", "0"}, {"limit", "0"}}),
            kSystemError);
        EXPECT_THAT(host().Messages(), ElementsAre(row.message));
      }
    }
  }
  EXPECT_THAT(host().Calls("VEXOPlaylistAppendSongs"), IsEmpty());
}

TEST_F(EditSongs, OfMissingOnesDoNotReadAList) {
  EXPECT_EQ(Run(&PlaylistHandler::HandleRemoveMissing,
                {{"playlist_id", "musiclib_music_shared/playlist/31"}, {"id_info_list", "["}}),
            kSuccess);
}

TEST_F(EditSongs, AppendAnEmptyList) {
  EXPECT_EQ(Run(&PlaylistHandler::HandleAddSongs,
                {{"playlist", "musiclib_music_shared/playlist/31"}, {"id_info_list", "[]"}}),
            kSuccess);
  EXPECT_THAT(host().Calls("VEXOPlaylistAppendSongs"),
              ElementsAre("VEXOPlaylistAppendSongs(\"shared\", 7, \"31\", null, 0)"));
}

TEST_F(EditSongs, ReadStartAndLimitAsFarAsTheyAreNumbers) {
  const struct {
    const char *start;
    const char *limit;
    const char *arguments;
  } rows[] = {
      {"abc", "5x", "0, 5"},
      {"", "", "0, 0"},
      {"-1", " 7", "-1, 7"},
      {"99999999999999999999", "-99999999999999999999",
       "9223372036854775807, -9223372036854775808"},
  };
  for (const auto &row : rows) {
    EXPECT_EQ(
        Run(&PlaylistHandler::HandleUpdate, {{"playlist", "musiclib_music_personal/playlist/My"},
                                             {"id_info_list", "[]"},
                                             {"start", row.start},
                                             {"limit", row.limit}}),
        kSuccess);
    EXPECT_THAT(host().Calls("VEXOPersonalPlaylistUpdateSongs"),
                ElementsAre("VEXOPersonalPlaylistUpdateSongs(\"" + preferences() +
                            "/playlists/My.m3u\", null, " + row.arguments + ")"));
  }
}

TEST_F(EditSongs, ReleaseTheirSongs) {
  EXPECT_EQ(Edit(kEditors[1], "musiclib_music_shared/playlist/31"), kSuccess);
  EXPECT_THAT(host().Calls("VEXOPlaylistRecFree"),
              ElementsAre("VEXOPlaylistRecFree([12 /twelve.mp3])"));
}

} // namespace
