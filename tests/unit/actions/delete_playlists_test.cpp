#include "actions/delete_playlists.h"

#include "unit/actions/action_test.h"

namespace {

using recording::Song;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::MatchesRegex;

constexpr const char *kRestart = "iTunesServiceCheckAndReStart()";

class DeletePlaylists : public ActionTest {
protected:
  void SetUp() override {
    ActionTest::SetUp();
    host().records["VEXOPlayListListGetByID"] = {Song(12, "/a.m3u"), Song(7, "/b.m3u")};
    std::filesystem::create_directories(preferences() + "/playlists");
    WriteBytes(SharedRules(), "");
    WriteBytes(PersonalRules(), "");
  }
  void TearDown() override {
    EXPECT_EQ(host().open_rows, 0);
    EXPECT_EQ(host().open_lists, 0);
    ActionTest::TearDown();
  }

  static std::string SharedRules() { return root() + "/etc/mt-daapd.playlist"; }
  static std::string PersonalRules() { return preferences() + "/playlists/smart.playlist"; }

  std::string DeleteNormal(const std::string &ids) {
    return Run(&PlaylistHandler::HandleDelete, {{"playlists", ids}});
  }
  std::string DeleteSmart(const std::string &ids) {
    return Run(&PlaylistHandler::HandleDelete, {{"smartPlaylists", ids}});
  }
  /// An answer of success with one list in it.
  static std::string Deleted(const std::string &key, const std::string &ids) {
    return "{\"" + key + "\":\"" + ids + "\",\"success\":true}";
  }
};

TEST_F(DeletePlaylists, RefusesARequestWithNeitherList) {
  EXPECT_EQ(Run(&PlaylistHandler::HandleDelete, {}), kSystemError);
  EXPECT_THAT(host().Messages(), ElementsAre("Bad parameter."));
  EXPECT_THAT(host().Calls("GetUserIdFromName"), IsEmpty());
}

TEST_F(DeletePlaylists, OfALibraryRemovesAllRowsTogether) {
  const std::string ids = "musiclib_music_shared/playlist/12,musiclib_music_personal/playlist/7";
  EXPECT_EQ(DeleteNormal(ids), Deleted("playlists", ids));
  EXPECT_THAT(host().Effects(),
              ElementsAre("GetUserIdFromName(\"anna\")", "StringExplode(\"" + ids + "\", \",\")",
                          "VEXOPlayListListGetByID(\"shared\", 7, \"12,7\")",
                          "VEXOPlayListUnlink(\"shared\", rows [12, 7])", "SetSuccess(true)",
                          "VEXOPlayListFree(rows [12, 7])", "PrintResponse()"))
      << "the beginning of the list decides on the library";
}

TEST_F(DeletePlaylists, OfAPersonalLibraryRemovesPersonalRows) {
  host().personal_library = true;
  for (const char *ids :
       {"musiclib_music_personal/playlist/7", "musiclib_music_share/playlist/7", "x/7"}) {
    EXPECT_EQ(DeleteNormal(ids), Deleted("playlists", ids));
    EXPECT_THAT(host().Calls("VEXOPlayListListGetByID"),
                ElementsAre("VEXOPlayListListGetByID(\"personal\", 7, \"7\")"));
    EXPECT_THAT(host().Calls("VEXOPlayListUnlink"),
                ElementsAre("VEXOPlayListUnlink(\"personal\", rows [12, 7])"));
  }
}

TEST_F(DeletePlaylists, TellsTheLibraryBy21Characters) {
  EXPECT_EQ(DeleteNormal("musiclib_music_sharedX/playlist/7"),
            Deleted("playlists", "musiclib_music_sharedX/playlist/7"));
  EXPECT_THAT(host().Calls("VEXOPlayListListGetByID"),
              ElementsAre("VEXOPlayListListGetByID(\"shared\", 7, \"7\")"));
}

TEST_F(DeletePlaylists, OfALibraryRefusesAListWithoutIds) {
  host().personal_library = true;
  for (const char *ids : {"", ",", ",,,"}) {
    EXPECT_EQ(DeleteNormal(ids), kSystemError) << ids;
    EXPECT_THAT(host().Messages(), ElementsAre("Bad parameter."));
    EXPECT_THAT(host().Calls("VEXOPlayListListGetByID"), IsEmpty());
  }
}

TEST_F(DeletePlaylists, FailsWhenTheRowsCannotBeLookedUp) {
  for (const int result : {-1, 1}) {
    host().results["VEXOPlayListListGetByID"] = {result};
    EXPECT_EQ(DeleteNormal("musiclib_music_shared/playlist/12"), kSystemError);
    EXPECT_THAT(host().Messages(), ElementsAre("Failed to get music list."));
    EXPECT_THAT(host().Calls("VEXOPlayListUnlink"), IsEmpty());
  }
}

TEST_F(DeletePlaylists, FailsWhenTheRowsCannotBeRemoved) {
  host().results["VEXOPlayListUnlink"] = {-1};
  EXPECT_EQ(
      Run(&PlaylistHandler::HandleDelete, {{"playlists", "musiclib_music_shared/playlist/12"},
                                           {"smartPlaylists", "musiclib_music_shared/smart/Loud"}}),
      kSystemError);
  EXPECT_THAT(host().Messages(), ElementsAre("Failed to delete playlists"));
  EXPECT_EQ(host().Calls("VEXOPlayListFree").size(), 1U);
  EXPECT_THAT(host().Calls("iTunesPlaylistDeleteByFilename"), IsEmpty())
      << "no smart playlist is touched";
}

TEST_F(DeletePlaylists, OfAPreferenceFolderUnlinksTheFiles) {
  const std::string folder = preferences() + "/playlists/";
  for (const char *name : {"My list.m3u", "b.m3u", "c.m3u", "kept.m3u"}) {
    WriteBytes(folder + name, "");
  }
  const std::string ids = "musiclib_music_personal/playlist/My list,,x/y/b,c";
  EXPECT_EQ(DeleteNormal(ids), Deleted("playlists", ids));
  EXPECT_FALSE(Exists(folder + "My list.m3u"));
  EXPECT_FALSE(Exists(folder + "b.m3u"));
  EXPECT_TRUE(Exists(folder + "c.m3u")) << "an id without a slash is passed over";
  EXPECT_TRUE(Exists(folder + "kept.m3u"));
  EXPECT_THAT(host().Messages(), ElementsAre("c is wrong id"));
  EXPECT_THAT(host().Calls("VEXOPlayListListGetByID"), IsEmpty());
}

TEST_F(DeletePlaylists, OfAPreferenceFolderSucceedsWithoutTheFile) {
  EXPECT_EQ(DeleteNormal("musiclib_music_personal/playlist/none"),
            Deleted("playlists", "musiclib_music_personal/playlist/none"));
  EXPECT_THAT(host().Messages(), IsEmpty());
}

TEST_F(DeletePlaylists, OfAPreferenceFolderTakesAnEmptyNameAsItStands) {
  const std::string file = preferences() + "/playlists/.m3u";
  WriteBytes(file, "");
  EXPECT_EQ(DeleteNormal("musiclib_music_personal/playlist/"),
            Deleted("playlists", "musiclib_music_personal/playlist/"));
  EXPECT_FALSE(Exists(file));
}

TEST_F(DeletePlaylists, OfAPreferenceFolderCutsAPathThatIsTooLong) {
  const std::string id = "musiclib_music_personal/" + std::string(5000, 'n');
  EXPECT_EQ(DeleteNormal(id), Deleted("playlists", id));
}

TEST_F(DeletePlaylists, OfAPreferenceFolderRefusesAListWithoutIds) {
  for (const char *ids : {"", ",", ",,"}) {
    EXPECT_EQ(Run(&PlaylistHandler::HandleDelete,
                  {{"playlists", ids}, {"smartPlaylists", "musiclib_music_shared/smart/Loud"}}),
              kSystemError);
    EXPECT_THAT(host().Messages(), ElementsAre("Bad parameter."));
    EXPECT_THAT(host().Calls("iTunesPlaylistDeleteByFilename"), IsEmpty());
  }
}

TEST_F(DeletePlaylists, OfSharedSmartOnesRestartsTheServiceAfterwards) {
  const std::string ids = "musiclib_music_shared/smart/Loud,musiclib_music_shared/smart/Old";
  EXPECT_EQ(DeleteSmart(ids), Deleted("smartPlaylists", ids));
  EXPECT_THAT(
      host().Effects(),
      ElementsAre("StringExplode(\"" + ids + "\", \",\")", "VLIBCSzListAlloc(1024)",
                  "VLIBCStrSep(\"Loud,Old\", \",\")",
                  "iTunesPlaylistDeleteByFilename(\"" + SharedRules() + "\", [\"Loud\", \"Old\"])",
                  "VLIBCSzListFree()", kRestart, kEvent, "SetSuccess(true)", "PrintResponse()"))
      << "nor is the user's id asked for";
}

TEST_F(DeletePlaylists, OfPersonalSmartOnesRestartsNothing) {
  for (const char *ids : {"musiclib_music_personal/smart/Loud", "x/smart/Loud"}) {
    EXPECT_EQ(DeleteSmart(ids), Deleted("smartPlaylists", ids));
    EXPECT_THAT(
        host().Calls("iTunesPlaylistDeleteByFilename"),
        ElementsAre("iTunesPlaylistDeleteByFilename(\"" + PersonalRules() + "\", [\"Loud\"])"));
    EXPECT_THAT(host().Calls("iTunesServiceCheckAndReStart"), IsEmpty());
    EXPECT_THAT(host().Calls("VEXOLogSet1"), IsEmpty());
  }
}

TEST_F(DeletePlaylists, OfBothKindsRemovesNormalOnesFirst) {
  EXPECT_EQ(
      Run(&PlaylistHandler::HandleDelete, {{"playlists", "musiclib_music_shared/playlist/12"},
                                           {"smartPlaylists", "musiclib_music_shared/smart/Loud"}}),
      R"({"playlists":"musiclib_music_shared/playlist/12",)"
      R"("smartPlaylists":"musiclib_music_shared/smart/Loud","success":true})");
  std::vector<std::string> order;
  for (const recording::Event &event : host().events) {
    if (event.name == "VEXOPlayListUnlink" || event.name == "iTunesPlaylistDeleteByFilename") {
      order.push_back(event.name);
    }
  }
  EXPECT_THAT(order, ElementsAre("VEXOPlayListUnlink", "iTunesPlaylistDeleteByFilename"));
}

TEST_F(DeletePlaylists, OfSmartOnesWithoutTheFileAnswersNothing) {
  std::filesystem::remove(SharedRules());
  std::filesystem::remove(PersonalRules());
  EXPECT_EQ(DeleteSmart("musiclib_music_shared/smart/Loud"), "null");
  EXPECT_THAT(host().Messages(), ElementsAre("smart playlist file not exist. " + SharedRules()));
  EXPECT_EQ(DeleteSmart("musiclib_music_personal/smart/Loud"), "null");
  EXPECT_THAT(host().Messages(), ElementsAre("smart playlist file not exist. " + PersonalRules()));
}

TEST_F(DeletePlaylists, OfSmartOnesWithoutIdsAnswersNothing) {
  for (const char *ids : {"", ",", ",,"}) {
    EXPECT_EQ(DeleteSmart(ids), "null") << ids;
    EXPECT_THAT(host().Messages(), IsEmpty());
    EXPECT_THAT(host().Calls("VLIBCSzListAlloc"), IsEmpty());
  }
}

TEST_F(DeletePlaylists, OfSmartOnesThatFailsLeavesNormalOnesRemoved) {
  host().results["iTunesPlaylistDeleteByFilename"] = {-1};
  EXPECT_EQ(
      Run(&PlaylistHandler::HandleDelete, {{"playlists", "musiclib_music_shared/playlist/12"},
                                           {"smartPlaylists", "musiclib_music_shared/smart/Loud"}}),
      "null");
  EXPECT_EQ(host().Calls("VEXOPlayListUnlink").size(), 1U);
  EXPECT_EQ(host().Calls("VEXOPlayListFree").size(), 1U);
  ASSERT_EQ(host().Messages().size(), 1U);
  EXPECT_THAT(host().Messages()[0],
              MatchesRegex("iTunesPlaylistDelete\\(\\) failed; pszCurList = \\[0x[0-9a-f]+\\]\n"));
  EXPECT_THAT(host().Calls("iTunesServiceCheckAndReStart"), IsEmpty());
}

TEST_F(DeletePlaylists, OfSmartOnesFailsWithoutMemory) {
  host().results["VLIBCSzListAlloc"] = {0};
  EXPECT_EQ(DeleteSmart("musiclib_music_shared/smart/Loud"), "null");
  EXPECT_THAT(host().Messages(), ElementsAre("out of memory!!"));
  EXPECT_THAT(host().Calls("VLIBCSzListFree"), IsEmpty());
}

TEST_F(DeletePlaylists, CountsAsDoneWhenTheServiceCannotBeRestarted) {
  host().results["iTunesServiceCheckAndReStart"] = {-1};
  EXPECT_EQ(DeleteSmart("musiclib_music_shared/smart/Loud"),
            Deleted("smartPlaylists", "musiclib_music_shared/smart/Loud"));
  EXPECT_THAT(host().Messages(), ElementsAre("iTunesServiceCheckAndReStart() failed"));
  EXPECT_THAT(host().Calls("VEXOLogSet1"), IsEmpty());
}

TEST_F(DeletePlaylists, CutsNamesAtTheirField) {
  const std::string name(300, 'n');
  DeleteSmart("musiclib_music_shared/smart/" + name + ",musiclib_music_shared/smart/" + name);
  EXPECT_THAT(host().Calls("VLIBCStrSep"), ElementsAre("VLIBCStrSep(\"" + std::string(254, 'n') +
                                                       "," + std::string(253, 'n') + "\", \",\")"))
      << "the comma takes a byte of the second field";
}

TEST_F(DeletePlaylists, RemovesANameWithoutSlashAsItStands) {
  DeleteSmart("Loud");
  EXPECT_THAT(host().Calls("VLIBCStrSep"), ElementsAre("VLIBCStrSep(\"Loud\", \",\")"));
}

TEST_F(DeletePlaylists, BuildsAListOfIds) {
  const struct {
    const char *description;
    const char *ids;
    const char *list;
  } rows[] = {
      {"two ids", "musiclib_music_shared/playlist/12,a/7", "12,7"},
      {"a word counts as 0", "musiclib_music_shared/playlist/abc", "0"},
      {"without slash it is the number itself", "34,a/5", "34,5"},
      {"leading digits", "a/12abc", "12"},
      {"a tail that is empty", "9/", "9"},
      {"a number that does not fit", "a/4294967308", "2147483647"},
  };
  for (const auto &row : rows) {
    std::string list;
    EXPECT_TRUE(BuildPlaylistIdList(row.ids, list, 2)) << row.description;
    EXPECT_EQ(list, row.list) << row.description;
  }
}

TEST_F(DeletePlaylists, AppendsToAListOfIds) {
  std::string list = "1";
  EXPECT_TRUE(BuildPlaylistIdList("a/2,a/3", list, 2));
  EXPECT_EQ(list, "1,2,3");
  EXPECT_TRUE(BuildPlaylistIdList("x@4", list, 1));
  EXPECT_EQ(list, "1,2,3,4");
}

TEST_F(DeletePlaylists, BuildsNoListOfNothing) {
  std::string list;
  EXPECT_FALSE(BuildPlaylistIdList(nullptr, list, 2));
  EXPECT_FALSE(BuildPlaylistIdList("", list, 2));
  EXPECT_THAT(host().Calls("StringExplode"), IsEmpty());
  EXPECT_FALSE(BuildPlaylistIdList(",", list, 2));
  EXPECT_EQ(list, "");
}

TEST_F(DeletePlaylists, OfNoSmartIdsFails) {
  const WebMan request;
  EXPECT_FALSE(DeleteSmartPlaylists(request, nullptr, false));
  EXPECT_THAT(host().Messages(), IsEmpty());
}

TEST_F(DeletePlaylists, RestartTellsWhetherItCameAbout) {
  EXPECT_TRUE(RestartITunesServiceAndLog());
  EXPECT_THAT(host().Effects(), ElementsAre(kRestart, kEvent));
  host().results["iTunesServiceCheckAndReStart"] = {-1};
  EXPECT_FALSE(RestartITunesServiceAndLog());
}

} // namespace
