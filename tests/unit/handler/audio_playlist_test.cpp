#include "handler/audio_playlist.h"

#include "recording_platform/host_test.h"
#include <type_traits>

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

static_assert(std::is_base_of_v<ActionHandler, PlaylistHandler>);
static_assert(sizeof(PlaylistHandler) == sizeof(ActionHandler), "the handler has no data");
static_assert(std::has_virtual_destructor_v<PlaylistHandler>);

class Handler : public recording::HostTest {
protected:
  /// Serves a request with the given action; null: with none.
  int Serve(const char *action) {
    host().parameters.clear();
    host().answers.clear();
    host().events.clear();
    if (action != nullptr) {
      host().parameters["action"] = action;
    }
    return PlaylistHandler().Process();
  }
};

TEST_F(Handler, EndsARefusedRequestBeforeItLoadsAnything) {
  host().authorized = false;
  EXPECT_EQ(Serve("checkempty"), 0);
  EXPECT_THAT(host().Effects(),
              ElementsAre("ActionHandler()", "IsAuthorized(null, 3, 3)", "~ActionHandler()"));
}

TEST_F(Handler, AuthorizesThenLoadsThenAsksForThePermission) {
  EXPECT_EQ(Serve(nullptr), 0);
  EXPECT_THAT(host().Effects(),
              ElementsAre("ActionHandler()", "IsAuthorized(null, 3, 3)", "LoadIn()",
                          "GetUserPermission(\"anna\")", "~ActionHandler()"));
  EXPECT_THAT(host().Calls("In"), ElementsAre("In(\"action\", null)"));
  EXPECT_THAT(host().answers, IsEmpty());
}

TEST_F(Handler, GoesOnWhenTheParametersCannotBeLoaded) {
  host().results["LoadIn"] = {0};
  EXPECT_EQ(Serve("checkempty"), 1);
}

TEST_F(Handler, RefusesNoActionOnAccountOfThePermission) {
  host().results["GetUserPermission"] = {-1};
  EXPECT_EQ(Serve("checkempty"), 1);
  EXPECT_EQ(host().answers.size(), 1U);
}

TEST_F(Handler, PrintsNothingForAnActionThatItDoesNotKnow) {
  for (const char *action : {"", "ADD", "Add", "add ", " add", "addsong", "list", "HandleAdd"}) {
    EXPECT_EQ(Serve(action), 0) << action;
    EXPECT_THAT(host().answers, IsEmpty());
  }
}

TEST_F(Handler, RunsEachActionAndPrintsOneAnswerThoughItFails) {
  for (const char *action :
       {"add", "addplaying", "addsearch", "removesongs", "addsongs", "delete", "saveplsname",
        "update", "remove_missing", "duplicate", "download", "checkempty"}) {
    EXPECT_EQ(Serve(action), 1) << action;
    ASSERT_EQ(host().answers.size(), 1U) << action;
    EXPECT_EQ(host().answers[0].document["error"]["key"], "error_system") << action;
    EXPECT_EQ(host().answers[0].content_type, "text/plain; charset=\"UTF-8\"") << action;
  }
}

/// Each action is told from the others by a host call that it alone makes.
TEST_F(Handler, RunsTheActionOfTheName) {
  const struct {
    const char *action;
    std::map<std::string, std::string> parameters;
    const char *call;
  } rows[] = {
      {"add", {{"name", "a"}, {"id_info_list", R"(["1"])"}}, "VEXOMusicListGetByID"},
      {"addplaying", {{"name", "b"}, {"target", "stream"}}, "PlaylistFileLoad"},
      {"addsearch", {{"name", "c"}, {"category", "all"}, {"keyword", ""}}, "VEXOMusicListAll"},
      {"removesongs", {{"playlist", "x/1"}, {"seq_list", "0"}}, "VEXOPlaylistRemoveSongs"},
      {"addsongs", {{"playlist", "x/1"}, {"id_info_list", "[]"}}, "VEXOPlaylistAppendSongs"},
      {"delete", {{"playlists", "musiclib_music_shared/playlist/1"}}, "VEXOPlayListListGetByID"},
      {"saveplsname", {{"id", "x/1"}, {"name", "d"}}, "VEXOPlaylistPathGet"},
      {"update",
       {{"playlist", "x/1"}, {"id_info_list", "[]"}, {"start", "0"}, {"limit", "0"}},
       "VEXOPlaylistUpdateSongs"},
      {"remove_missing", {{"playlist_id", "x/1"}}, "VEXOPlaylistRemoveMissing"},
      {"duplicate", {{"id", "x/smart/1"}}, "iTunesPlaylistGetByFilename"},
      {"download", {{"id_info_list", R"([{"res": "/a.mp3"}])"}}, "Output"},
      {"checkempty", {{"playlist", "x/smart/1"}}, "SmartPLSListSongs"},
  };
  for (const auto &row : rows) {
    host().parameters = row.parameters;
    host().parameters["action"] = row.action;
    host().events.clear();
    EXPECT_EQ(PlaylistHandler().Process(), 1) << row.action;
    EXPECT_EQ(host().Calls(row.call).size(), 1U) << row.action;
  }
}

} // namespace
