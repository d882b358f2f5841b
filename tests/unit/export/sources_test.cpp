#include "export_test.h"
#include <syslog.h>

using recording::Song;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class SongSourceTest : public ExportTest {
protected:
  static constexpr const char *kOnlyPlaylists = "playlist.m3u\nplaylist.m3u8\n";

  static std::string random_file() { return root() + "/tmp/==DynaRandom100==.anna"; }
  /// Makes the random list anew with the next download.
  static void ForgetRandom() { std::filesystem::remove(random_file()); }
};

TEST_F(SongSourceTest, WithoutASourceTheParameterIsBad) {
  host().parameters["filename"] = "a.zip";
  Download();
  ExpectSystemError({"Bad parameter."});
}

TEST_F(SongSourceTest, ThePlayersQueueIsTheFirstChoice) {
  host().parameters = {
      {"target", "stream"}, {"playlist", "musiclib_random"}, {"id_info_list", "[]"}};
  host().records["PlaylistFileLoad"] = {Song(1, "/m/queued.mp3")};
  Download();
  EXPECT_THAT(host().Calls("PlaylistFileLoad"),
              ElementsAre("PlaylistFileLoad(\"" + root() + "/tmp/playing_anna.pls\", 0, 0)"));
  EXPECT_EQ(NamesForZip(), std::string("queued.mp3\n") + kOnlyPlaylists);
}

TEST_F(SongSourceTest, APlaylistIsChosenBeforeSongs) {
  host().parameters = {{"playlist", "musiclib_music_shared/smart/Loud"}, {"id_info_list", "["}};
  Download();
  EXPECT_EQ(NamesForZip(), kOnlyPlaylists);
}

TEST_F(SongSourceTest, AQueueThatCannotBeReadIsASystemError) {
  host().parameters["target"] = "stream";
  Download();
  ExpectSystemError({"Cannot load the playlist from " + root() + "/tmp/playing_anna.pls",
                     "Failed to get playlist from target [stream]"});
}

TEST_F(SongSourceTest, TheRandomListIsMadeOfTheLibraryAsItIsNamed) {
  host().parameters = {{"playlist", "musiclib_random"}, {"library", "any text"}};
  host().records["PlaylistFileLoad"] = {Song(1, "/m/b.mp3"), Song(2, "/m/a.mp3")};
  Download();
  EXPECT_THAT(host().Calls("PlaylistRandomCreate"),
              ElementsAre("PlaylistRandomCreate(\"any text\", 7, \"" + random_file() + "\", 100)"));
  EXPECT_THAT(host().Calls("PlaylistFileLoad"),
              ElementsAre("PlaylistFileLoad(\"" + random_file() + "\", 0, 0)"));
  EXPECT_EQ(NamesForZip(), std::string("b.mp3\na.mp3\n") + kOnlyPlaylists);
  EXPECT_EQ(host().open_files, 0);
}

TEST_F(SongSourceTest, TheRandomListIsOfTheSharedLibraryByDefault) {
  host().parameters["playlist"] = "musiclib_random";
  Download();
  EXPECT_THAT(host().Calls("PlaylistRandomCreate"),
              ElementsAre(testing::HasSubstr("(\"shared\", 7, ")));
}

TEST_F(SongSourceTest, ARandomListThatIsThereIsUsedAgain) {
  WriteBytes(random_file(), "");
  host().parameters["playlist"] = "musiclib_random";
  host().records["PlaylistFileLoad"] = {};
  Download();
  EXPECT_THAT(host().Calls("PlaylistRandomCreate"), IsEmpty());
  EXPECT_EQ(NamesForZip(), kOnlyPlaylists);
  EXPECT_TRUE(std::filesystem::exists(random_file()));
}

TEST_F(SongSourceTest, ARandomListThatIsNoRegularFileIsMadeAnew) {
  std::filesystem::create_directories(random_file());
  host().parameters["playlist"] = "musiclib_random";
  Download();
  EXPECT_EQ(host().Calls("PlaylistRandomCreate").size(), 1U);
}

TEST_F(SongSourceTest, ARandomListThatCannotBeMadeIsToldAndNotLogged) {
  host().parameters["playlist"] = "musiclib_random";
  host().results["PlaylistRandomCreate"] = {0};
  Download();
  EXPECT_EQ(host().AnswerText(),
            R"({"error":{"key":"error_create_random100","section":"playlist"}})");
  EXPECT_THAT(host().Messages(), IsEmpty());
  EXPECT_THAT(host().Calls("PlaylistFileLoad"), IsEmpty());
}

TEST_F(SongSourceTest, ARandomListThatCannotBeReadIsToldAndLogged) {
  host().parameters["playlist"] = "musiclib_random";
  Download();
  EXPECT_EQ(host().AnswerText(),
            R"({"error":{"key":"error_create_random100","section":"playlist"}})");
  EXPECT_THAT(host().Messages(), ElementsAre("Cannot load the playlist from " + random_file()));
}

TEST_F(SongSourceTest, ASharedSmartPlaylistIsOfTheRulesOfTheHost) {
  host().parameters["playlist"] = "musiclib_music_shared/smart/Loud";
  host().records["SmartPLSListSongs"] = {Song(1, "/m/b.mp3"), Song(2, "/m/a.mp3")};
  Download();
  EXPECT_THAT(host().Calls("SmartPLSListSongs"),
              ElementsAre("SmartPLSListSongs(\"Loud\", 0, 0, null, false)"));
  EXPECT_EQ(NamesForZip(), std::string("b.mp3\na.mp3\n") + kOnlyPlaylists);
}

TEST_F(SongSourceTest, APersonalSmartPlaylistIsOfTheRulesOfTheUser) {
  for (const bool personal_library : {false, true}) {
    host().personal_library = personal_library;
    host().events.clear();
    host().parameters["playlist"] = "musiclib_music_personal/smart/Loud";
    Download();
    EXPECT_THAT(host().Calls("SmartPLSListSongs"),
                ElementsAre("SmartPLSListSongs(\"Loud\", 0, 0, \"" + preferences() +
                            "/playlists/smart.playlist\", false)"));
  }
}

TEST_F(SongSourceTest, ASmartPlaylistThatIsNotKnownIsAnEmptyArchive) {
  host().parameters["playlist"] = "musiclib_music_shared/smart/Gone";
  Download();
  EXPECT_EQ(NamesForZip(), kOnlyPlaylists);
  EXPECT_THAT(host().answers, IsEmpty());
}

TEST_F(SongSourceTest, ASharedPlaylistIsFoundByItsId) {
  WriteBytes(library() + "/mix.m3u", "");
  std::filesystem::create_symlink("mix.m3u", library() + "/link.m3u");
  host().parameters["playlist"] = "musiclib_music_shared/playlist/12";
  host().records["VEXOPlayListListGetByID"] = {Song(12, library() + "/link.m3u")};
  host().records["ParsePlayListByFieldGivenPath"] = {Song(1, "/m/b.mp3"), Song(2, "/m/a.mp3")};
  Download();
  EXPECT_THAT(host().Calls("VEXOPlayListListGetByID"),
              ElementsAre("VEXOPlayListListGetByID(\"shared\", 0, \"12\")"));
  EXPECT_THAT(
      host().Calls("ParsePlayListByFieldGivenPath"),
      ElementsAre("ParsePlayListByFieldGivenPath(\"" + library() + "/mix.m3u\", 0, 0, \"*\", 7)"));
  EXPECT_EQ(NamesForZip(), std::string("b.mp3\na.mp3\n") + kOnlyPlaylists);
  EXPECT_EQ(host().open_rows, 0);
}

TEST_F(SongSourceTest, ADownloadCallsTheHostInThisOrder) {
  host().parameters["playlist"] = "musiclib_music_shared/playlist/12";
  host().records["VEXOPlayListListGetByID"] = {Song(12, "/mix.m3u")};
  host().records["ParsePlayListByFieldGivenPath"] = {Song(1, "/m/a.mp3")};
  Download();
  EXPECT_THAT(host().Effects(),
              ElementsAre("ActionHandler()", "GetUserIdFromName(\"anna\")", "GetBrowserInfo()",
                          "VEXOPlayListListGetByID(\"shared\", 0, \"12\")",
                          "ParsePlayListByFieldGivenPath(\"/mix.m3u\", 0, 0, \"*\", 7)",
                          "VEXOIndexCodePageGet()",
                          "VLIBCUnicodeStrUTF8ToCP(65001, \"a.mp3\", 4096)",
                          "Output(stream, \"audio.zip\", \"application/force-download\")",
                          "VEXOPlayListFree(rows [12])", "VEXOPlaylistRecFree([1 /m/a.mp3])",
                          "~ActionHandler()"));
}

TEST_F(SongSourceTest, APlaylistFileThatIsNotThereIsReadByItsOwnPath) {
  host().parameters["playlist"] = "musiclib_music_shared/playlist/12";
  host().records["VEXOPlayListListGetByID"] = {Song(12, "/gone/mix.m3u")};
  Download();
  EXPECT_THAT(host().Calls("ParsePlayListByFieldGivenPath"),
              ElementsAre(testing::HasSubstr("(\"/gone/mix.m3u\", ")));
}

TEST_F(SongSourceTest, APlaylistOfThePersonalLibraryIsFoundByItsId) {
  host().personal_library = true;
  host().parameters["playlist"] = "musiclib_music_personal/playlist/12";
  host().records["VEXOPlayListListGetByID"] = {Song(12, "/music/mix.m3u")};
  Download();
  EXPECT_THAT(host().Calls("VEXOPlayListListGetByID"),
              ElementsAre("VEXOPlayListListGetByID(\"personal\", 7, \"12\")"));
}

TEST_F(SongSourceTest, APlaylistOfThePreferenceFolderIsFoundByItsName) {
  host().parameters["playlist"] = "musiclib_music_personal/playlist/Late Night";
  Download();
  EXPECT_THAT(host().Calls("VEXOPlayListListGetByID"), IsEmpty());
  EXPECT_THAT(host().Calls("ParsePlayListByFieldGivenPath"),
              ElementsAre("ParsePlayListByFieldGivenPath(\"" + preferences() +
                          "/playlists/Late Night.m3u\", 0, 0, \"*\", 7)"));
}

TEST_F(SongSourceTest, APlaylistThatIsNotKnownIsASystemError) {
  for (const char *id :
       {"musiclib_music_shared/playlist/99", "musiclib_music_personal/playlist/99"}) {
    host().personal_library = true;
    host().log.clear();
    host().answers.clear();
    host().parameters["playlist"] = id;
    host().results["VEXOPlayListListGetByID"] = {-1};
    Download();
    ExpectSystemError({"The playlist with id: 99 does not exist."});
  }
}

TEST_F(SongSourceTest, ChosenSongsThatAreNoJsonAreASystemError) {
  const struct {
    const char *description, *text, *message;
  } rows[] = {
      {"no JSON", "[", "Failed to parse json."},
      {"too deep", nullptr, "Failed to parse json."},
      {"an object", "{}", "id_info_list is not a Json array."},
      {"a text", "\"1\"", "id_info_list is not a Json array."},
  };
  const std::string deep(100000, '[');
  for (const auto &row : rows) {
    host().log.clear();
    host().answers.clear();
    host().parameters["id_info_list"] = row.text == nullptr ? deep : row.text;
    Download();
    SCOPED_TRACE(row.description);
    ExpectSystemError({row.message});
  }
}

TEST_F(SongSourceTest, ChosenSongsThatCannotBeLookedUpAreASystemError) {
  host().parameters["id_info_list"] = R"(["1","2"])";
  host().results["VEXOMusicListGetByID"] = {-1};
  Download();
  ExpectSystemError({"Failed to get music list from database."});
}

TEST_F(SongSourceTest, OneChosenSongIsSentAsItIs) {
  host().parameters["id_info_list"] = R"(["5"])";
  host().records["VEXOMusicListGetByID"] = {Song(5, "/m/a.mp3")};
  EXPECT_EQ(Download(), "");
  EXPECT_THAT(host().Calls("Output"),
              ElementsAre("Output(\"/m/a.mp3\", \"application/force-download\")"));
  EXPECT_THAT(host().answers, IsEmpty());
  EXPECT_THAT(system_calls::control().commands, IsEmpty());
}

TEST_F(SongSourceTest, OneChosenSongThatWasNotSentAnswersWithAnEmptyDocument) {
  host().results["Output"] = {-1};
  DownloadSongs({"/etc/passwd"});
  EXPECT_EQ(host().AnswerText(), "null");
  EXPECT_EQ(host().answers.front().content_type, "text/plain; charset=\"UTF-8\"");
  EXPECT_THAT(host().Messages(), IsEmpty());
}

TEST_F(SongSourceTest, NoChosenSongIsAnArchiveOfTwoEmptyPlaylists) {
  host().parameters["id_info_list"] = "[]";
  Download();
  EXPECT_EQ(NamesForZip(), kOnlyPlaylists);
  EXPECT_EQ(m3u_ + m3u8_, "");
}

TEST_F(SongSourceTest, APlaylistOfOneSongIsAnArchive) {
  host().parameters["playlist"] = "musiclib_music_shared/playlist/12";
  host().records["VEXOPlayListListGetByID"] = {Song(12, "/mix.m3u")};
  host().records["ParsePlayListByFieldGivenPath"] = {Song(1, "/m/a.mp3")};
  Download();
  EXPECT_EQ(NamesForZip(), std::string("a.mp3\n") + kOnlyPlaylists);
}

TEST_F(SongSourceTest, MemoryThatIsUsedUpIsASystemError) {
  for (const char *id : {"musiclib_random", "musiclib_music_shared/smart/Loud"}) {
    for (const int left : {0, 1}) {
      host().log.clear();
      host().answers.clear();
      ForgetRandom();
      host().parameters["playlist"] = id;
      host().records["PlaylistFileLoad"] = {Song(1, "/m/a.mp3"), Song(2, "/m/b.mp3")};
      host().records["SmartPLSListSongs"] = host().records["PlaylistFileLoad"];
      host().on["PlaylistFileLoad"] = host().on["SmartPLSListSongs"] =
          [left](const recording::Event &) { system_calls::control().callocs_left = left; };
      Download();
      system_calls::control().callocs_left = -1;
      EXPECT_EQ(host().AnswerText(), kSystemError);
      ASSERT_EQ(host().log.size(), 1U);
      EXPECT_THAT(host().log.front().message,
                  testing::MatchesRegex("audio_playlist.cpp \\([0-9]+\\) Failed to alloc " +
                                        std::to_string(sizeof(VEXOPlaylistRec))));
      EXPECT_EQ(host().open_files, 0);
    }
  }
}

TEST_F(SongSourceTest, ABrowserThatIsNotKnownIsLoggedAndTreatedWithTheMostCare) {
  host().parameters["id_info_list"] = "[]";
  host().results["GetBrowserInfo"] = {-1};
  EXPECT_EQ(Download(), "X-Download-Options: noopen\nContent-Disposition: attachment;\n"
                        "Accept-Ranges: none\n");
  ASSERT_EQ(host().log.size(), 1U);
  EXPECT_EQ(host().log.front().priority, LOG_ERR);
  EXPECT_THAT(host().log.front().message,
              testing::MatchesRegex("\\([0-9]+\\): failed to get browser type "));
  EXPECT_EQ(NamesForZip(), kOnlyPlaylists);
}

} // namespace
