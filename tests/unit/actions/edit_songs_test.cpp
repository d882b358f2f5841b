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

  // The whole calls.
  [[nodiscard]] std::string RowCall(const std::string &library, const std::string &id) const {
    return row_call + ("(\"" + library + "\", 7, \"" + id + "\"") + row_arguments + ")";
  }
  [[nodiscard]] std::string FileCall(const std::string &path) const {
    return file_call + ("(\"" + path + "\"") + file_arguments + ")";
  }
};

void PrintTo(const Editor &editor, std::ostream *out) { *out << editor.description; }

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
    host().records["MediaInfoDBGet"] = {Song(31, path)};
  }

  std::string Edit(const Editor &editor, const std::string &id) {
    std::map<std::string, std::string> parameters = editor.parameters;
    parameters[editor.id_parameter] = id;
    return Run(editor.run, parameters);
  }
};

/// What all four actions have in common, a test an action.
class EachEdit : public EditSongs, public testing::WithParamInterface<Editor> {
protected:
  std::string Edit(const std::string &id) { return EditSongs::Edit(GetParam(), id); }
};

INSTANTIATE_TEST_SUITE_P(EditSongs, EachEdit, testing::ValuesIn(kEditors),
                         [](const auto &editor) { return std::string(editor.param.description); });

TEST_P(EachEdit, OfTheSharedLibraryGoesByIdAndRefreshesTheRow) {
  EXPECT_EQ(Edit("musiclib_music_shared/playlist/31"), kSuccess);
  EXPECT_THAT(host().Calls(GetParam().row_call), ElementsAre(GetParam().RowCall("shared", "31")));
  EXPECT_THAT(host().Calls("AudioInfoDBOpen"),
              ElementsAre("AudioInfoDBOpen(\"shared\", 7, 3, \"*\", \"id = 31\", 0, 0, 0, 0)"));
  EXPECT_EQ(host().Calls("VEXOPlaylistDBUpdate").size(), 1U);
  EXPECT_THAT(host().Calls(GetParam().file_call), IsEmpty());
  EXPECT_THAT(host().Messages(), IsEmpty());
}

TEST_P(EachEdit, OfAPersonalLibraryGoesByIdAndRefreshesTheRow) {
  host().personal_library = true;
  EXPECT_EQ(Edit("musiclib_music_personal/playlist/31"), kSuccess);
  EXPECT_THAT(host().Calls(GetParam().row_call), ElementsAre(GetParam().RowCall("personal", "31")));
  EXPECT_THAT(host().Calls("AudioInfoDBOpen"),
              ElementsAre("AudioInfoDBOpen(\"personal\", 7, 3, \"*\", \"id = 31\", 0, 0, 0, 0)"));
}

TEST_P(EachEdit, OfAPreferenceFolderGoesByPathAndTouchesNoDatabase) {
  EXPECT_EQ(Edit("musiclib_music_personal/playlist/12"), kSuccess);
  EXPECT_THAT(host().Calls(GetParam().file_call),
              ElementsAre(GetParam().FileCall(preferences() + "/playlists/12.m3u")));
  for (const char *call : {GetParam().row_call, "AudioInfoDBOpen", "VEXOPlaylistDBUpdate"}) {
    EXPECT_THAT(host().Calls(call), IsEmpty());
  }
}

TEST_P(EachEdit, RefusesARequestWithoutARequiredParameter) {
  std::map<std::string, std::string> whole = GetParam().parameters;
  whole[GetParam().id_parameter] = "musiclib_music_shared/playlist/31";
  for (const auto &[missing, value] : whole) {
    std::map<std::string, std::string> parameters = whole;
    parameters.erase(missing);
    EXPECT_EQ(Run(GetParam().run, parameters), kSystemError) << missing;
    EXPECT_THAT(host().Messages(), ElementsAre("Bad parameter.")) << missing;
    EXPECT_THAT(host().Calls(GetParam().row_call), IsEmpty()) << missing;
  }
}

TEST_P(EachEdit, FailsWhenTheCallOnARowFails) {
  host().results[GetParam().row_call] = {-1};
  EXPECT_EQ(Edit("musiclib_music_shared/playlist/31"), kSystemError);
  EXPECT_THAT(host().Messages(), ElementsAre(GetParam().row_failure));
  EXPECT_THAT(host().Calls("AudioInfoDBOpen"), IsEmpty());
}

TEST_P(EachEdit, FailsWhenTheCallOnAFileFails) {
  host().results[GetParam().file_call] = {1};
  EXPECT_EQ(Edit("musiclib_music_personal/playlist/12"), kSystemError);
  EXPECT_THAT(host().Messages(), ElementsAre(GetParam().file_failure));
}

TEST_P(EachEdit, FailsWhenTheRowCannotBeRefreshed) {
  host().results["VEXOPlaylistDBUpdate"] = {-1};
  const bool tells_another = std::string(GetParam().id_parameter) != "playlist";
  EXPECT_EQ(Edit("musiclib_music_shared/playlist/31"), kSystemError);
  EXPECT_THAT(host().Messages(),
              ElementsAre(std::string("Failed to update database info of playlist id:") +
                          (tells_another ? "0." : "31.")));
}

TEST_P(EachEdit, PassesATailThatIsNoNumberAndThenFails) {
  EXPECT_EQ(Edit("musiclib_music_shared/playlist/abc"), kSystemError);
  EXPECT_THAT(host().Calls(GetParam().row_call), ElementsAre(GetParam().RowCall("shared", "abc")));
  EXPECT_THAT(host().Messages(),
              ElementsAre("Bad parameter.", "Failed to update database info of playlist id:0."));
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

TEST_F(EditSongs, CallTheHostInThisOrder) {
  EXPECT_EQ(Edit(kEditors[1], "musiclib_music_shared/playlist/31"), kSuccess);
  EXPECT_THAT(
      host().Effects(),
      ElementsAre("GetUserIdFromName(\"anna\")", "VEXOMusicListGetByID(\"shared\", 0, \"12\")",
                  "VEXOPlaylistUpdateSongs(\"shared\", 7, \"31\", [12 /twelve.mp3], 3, 2)",
                  "AudioInfoDBOpen(\"shared\", 7, 3, \"*\", \"id = 31\", 0, 0, 0, 0)",
                  "MediaInfoDBGet()", "AudioInfoDBClose()",
                  "VEXOPlaylistDBUpdate(\"shared\", 7, {id=31, path=\"" + library() +
                      "/Road.m3u\"}, 31)",
                  "SetSuccess(true)", "VEXOPlaylistRecFree([12 /twelve.mp3])", "PrintResponse()"));
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

} // namespace
