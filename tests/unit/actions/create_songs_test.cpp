// Where each of the actions that create playlists gets its songs from.
#include "support/scripted_daemon.h"
#include "unit/actions/create_test.h"

namespace {

/// No memory for the nodes of song lists.
bool no_nodes = false;

} // namespace

extern "C" {
void *__real_calloc(std::size_t count, std::size_t size);
void *__wrap_calloc(std::size_t count, std::size_t size);
void *__wrap_calloc(std::size_t count, std::size_t size) {
  return no_nodes && size == sizeof(VEXOPlaylistRec) ? nullptr : __real_calloc(count, size);
}
}

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pointwise;

MATCHER(BeginsWith, "") { return std::get<0>(arg).starts_with(std::get<1>(arg)); }

TEST_F(CreatePlaylist, OfAddWithoutAListIsEmpty) {
  EXPECT_EQ(Run(&PlaylistHandler::HandleAdd, {{"name", "Road"}}),
            NodeAnswer("musiclib_music_personal/playlist/Road"));
  EXPECT_EQ(host().Calls("VEXOWriteMusicPlaylist").size(), 1U);
  EXPECT_THAT(host().Calls("VEXOPlaylistRecFree"), IsEmpty());
}

TEST_F(CreatePlaylist, OfAddWithAnEmptyListWritesIt) {
  EXPECT_EQ(Run(&PlaylistHandler::HandleAdd, {{"name", "Road"}, {"id_info_list", "[]"}}),
            NodeAnswer("musiclib_music_personal/playlist/Road"));
  const std::string call =
      "VEXOWriteMusicPlaylist(null, \"" + preferences() + "/playlists/Road.m3u\")";
  EXPECT_THAT(host().Calls("VEXOWriteMusicPlaylist"), ElementsAre(call, call));
}

TEST_F(CreatePlaylist, OfAddThatOverwritesWithoutAListChangesNothing) {
  EXPECT_EQ(Run(&PlaylistHandler::HandleAdd,
                {{"name", "Road"}, {"type", "shared"}, {"overwrite", "true"}}),
            NodeAnswer("musiclib_music_shared/playlist/31"));
  EXPECT_THAT(host().Calls("VEXOWriteMusicPlaylist"), IsEmpty());
  EXPECT_THAT(host().Calls("VEXOPlaylistDBSave"), IsEmpty());
}

TEST_F(CreatePlaylist, OfAddFailsWithAListThatItCannotRead) {
  const struct {
    const char *list;
    const char *message;
  } rows[] = {
      {"[", "Failed to parse json."},
      {"", "Failed to parse json."},
      {"{}", "id_info_list is not a Json array."},
      {R"([{"res": 1}])", "Bad parameter."},
  };
  for (const auto &row : rows) {
    Forget(preferences());
    EXPECT_EQ(Run(&PlaylistHandler::HandleAdd, {{"name", "Road"}, {"id_info_list", row.list}}),
              kSystemError);
    EXPECT_THAT(host().Messages(), ElementsAre(row.message)) << row.list;
    EXPECT_TRUE(Exists(preferences() + "/playlists/Road.m3u")) << "the empty one stays";
  }
}

TEST_F(CreatePlaylist, OfAddFailsWhenTheSongsCannotBeLookedUp) {
  host().results["VEXOMusicListGetByID"] = {-1};
  EXPECT_EQ(Create(kCreators[0], {{"name", "Road"}}), kSystemError);
  EXPECT_THAT(host().Messages(), ElementsAre("Failed to get music list from database."));
}

TEST_F(CreatePlaylist, OfAddPlayingFailsWithAQueueThatCannotBeLoaded) {
  host().records.erase("PlaylistFileLoad");
  EXPECT_EQ(Create(kCreators[1], {{"name", "Road"}}), kSystemError);
  EXPECT_THAT(host().Messages(),
              ElementsAre("Cannot load the playlist from " + root() + "/tmp/playing_anna.pls",
                          "Failed to get playlist from target [stream]"));
  EXPECT_TRUE(Exists(preferences() + "/playlists/Road.m3u")) << "the empty one stays";
}

TEST_F(CreatePlaylist, OfAddPlayingFailsWithoutMemoryForTheQueue) {
  no_nodes = true;
  const std::string answer = Create(kCreators[1], {{"name", "Road"}});
  no_nodes = false;
  EXPECT_EQ(answer, kSystemError);
  EXPECT_THAT(host().Messages(),
              ElementsAre("Failed to calloc.", "Failed to get playlist from target [stream]"));
  EXPECT_TRUE(Exists(preferences() + "/playlists/Road.m3u")) << "the empty one stays";
}

TEST_F(CreatePlaylist, OfAddPlayingWritesAnEmptyQueue) {
  host().records["PlaylistFileLoad"].clear();
  EXPECT_EQ(Create(kCreators[1], {{"name", "Road"}}),
            NodeAnswer("musiclib_music_personal/playlist/Road"));
  EXPECT_EQ(host().Calls("VEXOWriteMusicPlaylist").size(), 2U);
}

/// What a player daemon says to the selection of a player and to each page of its queue; it hangs
/// up where it says nothing.
ScriptedDaemon::Answer Says(const std::string &selection, const std::string &page) {
  return [selection, page](const ScriptedDaemon::Command &command) {
    const std::string &reply = command.code() == 21 ? selection : page;
    if (!reply.empty()) {
      command.Say(reply);
    }
  };
}

TEST_F(CreatePlaylist, OfAddPlayingWritesTheQueueOfAPlayer) {
  ScriptedDaemon scripted(root() + "/tmp/vexoaudiod.sock",
                          Says("{}", R"({"uris":[{"res":"/a.mp3","item_id":"playing@7"},)"
                                     R"({"res":"http://radio/"}],"total":2})"));
  const std::string path = preferences() + "/playlists/Road.m3u";
  EXPECT_EQ(Create(kCreators[1], {{"name", "Road"}, {"target", "usb"}}),
            NodeAnswer("musiclib_music_personal/playlist/Road"));
  EXPECT_THAT(scripted.Commands(), ElementsAre("21 -1", "30 0 5"));
  EXPECT_THAT(host().Calls("VEXOWriteMusicPlaylist"),
              ElementsAre("VEXOWriteMusicPlaylist(null, \"" + path + "\")",
                          "VEXOWriteMusicPlaylist([7 /a.mp3, 0 http://radio/], \"" + path + "\")"));
}

TEST_F(CreatePlaylist, OfAddPlayingTakesAPageThatIsNoJsonAsAnEmptyQueue) {
  const ScriptedDaemon scripted(root() + "/tmp/vexoaudiod.sock", Says("{}", "garbage"));
  EXPECT_EQ(Create(kCreators[1], {{"name", "Road"}, {"target", "0"}}),
            NodeAnswer("musiclib_music_personal/playlist/Road"));
  EXPECT_THAT(host().Messages(), IsEmpty());
}

TEST_F(CreatePlaylist, OfAddPlayingFailsWithAPlayerThatCannotBeAsked) {
  const std::string hung_up = "Failed to read action [";
  const std::string no_target = "Failed to get playlist from target [4]";
  const struct {
    const char *description;
    std::string selection, page;
    std::vector<std::string> messages; ///< how each begins
  } rows[] = {
      {"the selection", "", "", {hung_up, no_target}},
      {"a page", "{}", "", {hung_up, "Could not get the playlist of the player", no_target}},
      {"an error",
       "{}",
       R"({"total":-1})",
       {"Could not get the playlist of the player", no_target}},
  };
  for (const auto &row : rows) {
    Forget(preferences());
    const ScriptedDaemon scripted(root() + "/tmp/vexoaudiod.sock", Says(row.selection, row.page));
    EXPECT_EQ(Create(kCreators[1], {{"name", "Road"}, {"target", "4"}}), kSystemError);
    EXPECT_THAT(host().Messages(), Pointwise(BeginsWith(), row.messages)) << row.description;
    EXPECT_TRUE(Exists(preferences() + "/playlists/Road.m3u")) << "the empty one stays";
  }
}

TEST_F(CreatePlaylist, OfAddSearchPassesTheSearchOn) {
  Create(kCreators[2], {{"name", "Road"}});
  EXPECT_THAT(host().Calls("VEXOMusicListAll"),
              ElementsAre("VEXOMusicListAll(\"shared\", 7, 2, \"x\", \"album\", 1, 0, 0)"))
      << "by default";
  Forget(preferences());
  Run(&PlaylistHandler::HandleAddSearch, {{"name", "Road"},
                                          {"library", "any"},
                                          {"category", "none such"},
                                          {"keyword", ""},
                                          {"sort", "title"},
                                          {"dir", "asc"}});
  EXPECT_THAT(host().Calls("VEXOMusicListAll"),
              ElementsAre("VEXOMusicListAll(\"any\", 7, 0, \"\", \"title\", 0, 0, 0)"));
}

TEST_F(CreatePlaylist, OfAddSearchSortsUpwardsForTheExactWordOnly) {
  for (const char *direction : {"asc", "DESC", "", "ASC "}) {
    Forget(preferences());
    Create(kCreators[2], {{"name", "Road"}, {"dir", direction}});
    EXPECT_THAT(host().Calls("VEXOMusicListAll"),
                ElementsAre("VEXOMusicListAll(\"shared\", 7, 2, \"x\", \"album\", 0, 0, 0)"))
        << direction;
  }
}

TEST_F(CreatePlaylist, OfAddSearchTakesAFailedSearchAsAnEmptyOne) {
  host().results["VEXOMusicListAll"] = {-1};
  EXPECT_EQ(Create(kCreators[2], {{"name", "Road"}}),
            NodeAnswer("musiclib_music_personal/playlist/Road"));
  const std::string call =
      "VEXOWriteMusicPlaylist(null, \"" + preferences() + "/playlists/Road.m3u\")";
  EXPECT_THAT(host().Calls("VEXOWriteMusicPlaylist"), ElementsAre(call, call));
}

TEST(SearchField, IsKnownByItsExactName) {
  const struct {
    const char *name;
    int code;
  } rows[] = {{"title", 1}, {"artist", 2}, {"album", 3},    {"genre", 6},  {"all", 8},
              {"Title", 0}, {"", 0},       {"composer", 0}, {"title ", 0}, {nullptr, 0}};
  for (const auto &row : rows) {
    EXPECT_EQ(SearchFieldFromName(row.name), row.code) << (row.name ? row.name : "null");
  }
}

} // namespace
