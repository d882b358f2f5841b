#include "unit/actions/action_test.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class DuplicateSmart : public ActionTest {
protected:
  void SetUp() override {
    ActionTest::SetUp();
    host().on["VLIBCExec"] = [](const recording::Event & /*event*/) {
      WriteBytes(PersonalRules(), "");
    };
  }
  void TearDown() override {
    EXPECT_EQ(host().open_rules, 0) << "rules are released on every path";
    ActionTest::TearDown();
  }

  static std::string SharedRules() { return root() + "/etc/mt-daapd.playlist"; }
  static std::string PersonalRules() { return preferences() + "/playlists/smart.playlist"; }

  std::string Duplicate(const std::string &id, const std::string &overwrite = "false") {
    return Run(&PlaylistHandler::HandleDuplicate, {{"id", id}, {"overwrite", overwrite}});
  }
};

constexpr const char *kToPersonal = "musiclib_music_shared/smart/Road";
constexpr const char *kToShared = "musiclib_music_personal/smart/Road";

TEST_F(DuplicateSmart, OfASharedOneMakesThePersonalRules) {
  EXPECT_EQ(Duplicate(kToPersonal),
            CopyAnswer("musiclib_music_personal/smart/Road", "musiclib_music_personal"));
  EXPECT_THAT(
      host().Effects(),
      ElementsAre("VLIBCExec(\"" + root() + "/bin/touch\", \"" + PersonalRules() +
                      "\", null, null, null)",
                  "iTunesPlaylistGetByFilename(\"" + SharedRules() + "\", \"Road\")",
                  "IsiTunesPlaylistExistByFilename(\"" + PersonalRules() + "\", \"Road\")",
                  "iTunesPlaylistSetByFilename(\"" + PersonalRules() + "\", null, playlist Road)",
                  "SetSuccess(true)", "iTunesPLNodesFree()", "PrintResponse()"))
      << "and restarts nothing";
  EXPECT_EQ(ModeOf(preferences() + "/playlists"), 0777U);
}

TEST_F(DuplicateSmart, OfAPersonalOneRestartsTheService) {
  EXPECT_EQ(Duplicate(kToShared),
            CopyAnswer("musiclib_music_shared/smart/Road", "musiclib_music_shared"));
  EXPECT_THAT(
      host().Effects(),
      ElementsAre("VLIBCExec(\"" + root() + "/bin/touch\", \"" + PersonalRules() +
                      "\", null, null, null)",
                  "iTunesPlaylistGetByFilename(\"" + PersonalRules() + "\", \"Road\")",
                  "IsiTunesPlaylistExistByFilename(\"" + SharedRules() + "\", \"Road\")",
                  "iTunesPlaylistSetByFilename(\"" + SharedRules() + "\", null, playlist Road)",
                  "iTunesServiceCheckAndReStart()", kEvent, "SetSuccess(true)",
                  "iTunesPLNodesFree()", "PrintResponse()"));
}

TEST_F(DuplicateSmart, SucceedsWhenTheServiceCannotBeRestarted) {
  host().results["iTunesServiceCheckAndReStart"] = {-1};
  EXPECT_EQ(Duplicate(kToShared),
            CopyAnswer("musiclib_music_shared/smart/Road", "musiclib_music_shared"));
  EXPECT_THAT(host().Messages(), ElementsAre("iTunesServiceCheckAndReStart() failed"));
}

TEST_F(DuplicateSmart, LeavesPersonalRulesThatAreThere) {
  std::filesystem::create_directory(preferences() + "/playlists");
  WriteBytes(PersonalRules(), "mine");
  Duplicate(kToPersonal);
  EXPECT_THAT(host().Calls("VLIBCExec"), IsEmpty());
  EXPECT_EQ(ReadBytes(PersonalRules()), "mine");
}

TEST_F(DuplicateSmart, KnowsASmartIdOfAnyLibrary) {
  EXPECT_EQ(Duplicate("x/smartlist/Road"),
            CopyAnswer("musiclib_music_personal/smart/Road", "musiclib_music_personal"));
}

TEST_F(DuplicateSmart, FailsWhenTheFolderCannotBeMade) {
  for (const char *id : {kToPersonal, kToShared}) {
    host().preference_folder = root() + "/none";
    EXPECT_EQ(Duplicate(id), kSystemError);
    EXPECT_THAT(host().Messages(),
                ElementsAre("Failed to create directory No such file or directory."));
  }
  host().preference_folder = preferences();
  std::filesystem::create_symlink(root() + "/nowhere", preferences() + "/playlists");
  EXPECT_EQ(Duplicate(kToPersonal), kSystemError);
  EXPECT_THAT(host().Messages(), ElementsAre("Failed to create directory File exists."));
}

TEST_F(DuplicateSmart, FailsWhenThePersonalRulesCannotBeMade) {
  host().results["VLIBCExec"] = {-1};
  EXPECT_EQ(Duplicate(kToPersonal), kSystemError);
  EXPECT_THAT(host().Messages(), ElementsAre("Failed to touch " + PersonalRules() + ". ret=-1"));
}

TEST_F(DuplicateSmart, GoesOnWhenTheToolOnlyComplains) {
  host().results["VLIBCExec"] = {1};
  EXPECT_EQ(Duplicate(kToPersonal),
            CopyAnswer("musiclib_music_personal/smart/Road", "musiclib_music_personal"));
}

TEST_F(DuplicateSmart, FailsWithoutTheSource) {
  host().results["iTunesPlaylistGetByFilename"] = {-1};
  EXPECT_EQ(Duplicate(kToPersonal), kSystemError);
  EXPECT_THAT(host().Messages(), ElementsAre("Failed to get iTunes's playlist! name=Road"));
  EXPECT_THAT(host().Calls("iTunesPLNodesFree"), IsEmpty()) << "there are no rules";
}

TEST_F(DuplicateSmart, RefusesANameThatExists) {
  host().results["IsiTunesPlaylistExistByFilename"] = {1};
  for (const char *overwrite : {"false", "TRUE", "1"}) {
    EXPECT_EQ(Duplicate(kToPersonal, overwrite), kNameExists);
    EXPECT_THAT(host().Messages(), IsEmpty());
    EXPECT_THAT(host().Calls("iTunesPlaylistSetByFilename"), IsEmpty());
  }
}

TEST_F(DuplicateSmart, ReplacesAnExistingOneOnRequest) {
  host().results["IsiTunesPlaylistExistByFilename"] = {1};
  EXPECT_EQ(Duplicate(kToPersonal, "true"),
            CopyAnswer("musiclib_music_personal/smart/Road", "musiclib_music_personal"));
  EXPECT_THAT(host().Calls("iTunesPlaylistSetByFilename"),
              ElementsAre("iTunesPlaylistSetByFilename(\"" + PersonalRules() +
                          "\", \"Road\", playlist Road)"));
}

TEST_F(DuplicateSmart, AddsAnewWhatIsNotThereToReplace) {
  Duplicate(kToPersonal, "true");
  EXPECT_THAT(
      host().Calls("iTunesPlaylistSetByFilename"),
      ElementsAre("iTunesPlaylistSetByFilename(\"" + PersonalRules() + "\", null, playlist Road)"));
}

TEST_F(DuplicateSmart, FailsWhenThePlaylistCannotBeWritten) {
  host().results["iTunesPlaylistSetByFilename"] = {-1};
  EXPECT_EQ(Duplicate(kToShared), kSystemError);
  EXPECT_THAT(host().Messages(), ElementsAre("iTunesPlaylistSet() failed"));
  EXPECT_THAT(host().Calls("iTunesServiceCheckAndReStart"), IsEmpty());
}

TEST_F(DuplicateSmart, DoesNotEscapeTheName) {
  const std::string answer = Duplicate("musiclib_music_shared/smart/a<b");
  EXPECT_NE(answer.find(R"("id":"musiclib_music_personal/smart/a<b")"), std::string::npos);
  EXPECT_NE(answer.find(R"("qtip":"a<b","text":"a<b")"), std::string::npos);
  EXPECT_THAT(host().Calls("EncodeHtml"), IsEmpty());
}

} // namespace
