#include "export_test.h"
#include <sys/stat.h>

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using ArchiveTest = ExportTest;

TEST_F(ArchiveTest, SongsAreListedInOrderAndThePlaylistsBehindThem) {
  DownloadSongs({"/m/b.mp3", "/m/a.mp3"});
  EXPECT_EQ(NamesForZip(), "b.mp3\na.mp3\nplaylist.m3u\nplaylist.m3u8\n");
  EXPECT_EQ(m3u_, "b.mp3\na.mp3\n");
  EXPECT_EQ(m3u8_, "b.mp3\na.mp3\n");
  EXPECT_EQ(links_,
            (std::map<std::string, std::string>{{"a.mp3", "/m/a.mp3"}, {"b.mp3", "/m/b.mp3"}}));
}

TEST_F(ArchiveTest, TheCommandsToTheByte) {
  DownloadSongs({});
  const std::string names = "audiof[A-Za-z0-9]+";
  EXPECT_THAT(system_calls::control().commands,
              ElementsAre(testing::MatchesRegex(root() + "/bin/cat " + names + " \\| " + root() +
                                                "/usr/vexo/bin/zip -q -0 -G -r  -@ - "),
                          "rm -rf " + folder_ + " > /dev/null 2>&1 "));
  EXPECT_THAT(folder_, testing::MatchesRegex(root() + "/tmp/audiodl[A-Za-z0-9]+"));
}

TEST_F(ArchiveTest, IsSentByItsNameAndType) {
  host().parameters["filename"] = "x.zip";
  DownloadSongs({});
  EXPECT_THAT(host().Calls("Output"),
              ElementsAre("Output(stream, \"x.zip\", \"application/force-download\")"));
  EXPECT_THAT(host().answers, IsEmpty());
  EXPECT_EQ(Leftovers(), std::vector<std::string>());
}

TEST_F(ArchiveTest, ThatWasNotSentAnswersWithAnEmptyDocument) {
  host().results["Output"] = {-1};
  DownloadSongs({"/m/a.mp3", "/m/b.mp3"});
  EXPECT_EQ(host().AnswerText(), "null");
  EXPECT_EQ(Leftovers(), std::vector<std::string>());
}

TEST_F(ArchiveTest, SongsOfTheSameNameAreListedByTheirNumbers) {
  DownloadSongs({"/m/1/a.mp3", "/m/2/a.mp3"});
  EXPECT_EQ(NamesForZip(), "a.mp3\n0_a.mp3\nplaylist.m3u\nplaylist.m3u8\n");
  EXPECT_EQ(m3u_, "a.mp3\n0_a.mp3\n");
  EXPECT_EQ(m3u8_, m3u_);
}

TEST_F(ArchiveTest, TheSameSongTwiceIsListedTwice) {
  DownloadSongs({"/m/a.mp3", "/m/a.mp3"});
  EXPECT_EQ(NamesForZip(), "a.mp3\na.mp3\nplaylist.m3u\nplaylist.m3u8\n");
  EXPECT_EQ(m3u_, "a.mp3\na.mp3\n");
  EXPECT_EQ(links_.size(), 1U);
}

TEST_F(ArchiveTest, AStreamIsListedByItsAddressAndNotLinked) {
  DownloadSongs({"http://radio.example/a?b=c", "/m/a.mp3"});
  EXPECT_EQ(NamesForZip(), "http://radio.example/a?b=c\na.mp3\nplaylist.m3u\nplaylist.m3u8\n");
  EXPECT_EQ(m3u_, "http://radio.example/a?b=c\na.mp3\n");
  EXPECT_EQ(links_.size(), 1U);
}

TEST_F(ArchiveTest, ASongWithoutANameIsLeftOut) {
  DownloadSongs({"no-slash.mp3", "", "/m/a.mp3"});
  EXPECT_EQ(NamesForZip(), "a.mp3\nplaylist.m3u\nplaylist.m3u8\n");
  EXPECT_EQ(m3u_, "a.mp3\n");
}

TEST_F(ArchiveTest, AnIdThatIsNotKnownIsLeftOut) {
  host().parameters["id_info_list"] = R"(["1","99"])";
  host().records["VEXOMusicListGetByID"] = {recording::Song(1, "/m/a.mp3")};
  Download();
  EXPECT_EQ(NamesForZip(), "a.mp3\nplaylist.m3u\nplaylist.m3u8\n");
}

TEST_F(ArchiveTest, ALineBreakInAPathMakesNoSecondName) {
  for (const char *path :
       {"http://radio\n/etc/passwd", "/m/a\nb.mp3", "/m/a\rb.mp3", "/m\n/a.mp3"}) {
    host().sent.clear();
    host().log.clear();
    DownloadSongs({path, "/m/c.mp3"});
    EXPECT_EQ(NamesForZip(), "c.mp3\nplaylist.m3u\nplaylist.m3u8\n");
    EXPECT_EQ(m3u_ + m3u8_, "c.mp3\nc.mp3\n");
    EXPECT_THAT(host().Messages(),
                ElementsAre("A song with a line break in its path is left out."));
  }
}

TEST_F(ArchiveTest, OnePlaylistIsInTheCodePageOfTheIndex) {
  host().results["VEXOIndexCodePageGet"] = {932};
  host().texts["VLIBCUnicodeStrUTF8ToCP"] = "\x8B\xC8.mp3";
  DownloadSongs({"/m/\xE6\x9B\xB2.mp3", "no name"});
  EXPECT_THAT(host().Calls("VLIBCUnicodeStrUTF8ToCP"),
              ElementsAre("VLIBCUnicodeStrUTF8ToCP(932, \"\xE6\x9B\xB2.mp3\", 4096)"));
  EXPECT_EQ(m3u_, "\x8B\xC8.mp3\n");
  EXPECT_EQ(m3u8_, "\xE6\x9B\xB2.mp3\n");
  EXPECT_EQ(NamesForZip(), "\xE6\x9B\xB2.mp3\nplaylist.m3u\nplaylist.m3u8\n");
}

TEST_F(ArchiveTest, ANameOutsideTheCodePageIsASystemError) {
  host().results["VLIBCUnicodeStrUTF8ToCP"] = {5, -1};
  DownloadSongs({"/m/a.mp3", "/m/b.mp3"});
  ExpectSystemError({"Failed to covert the string from utf8 to codepage: b.mp3"});
}

TEST_F(ArchiveTest, WithoutAFolderForTemporaryFilesIsASystemError) {
  fs::remove_all(root() + "/tmp");
  DownloadSongs({});
  EXPECT_EQ(host().AnswerText(), kSystemError);
  EXPECT_THAT(host().Messages(), ElementsAre("Failed to create a temp directory."));
  EXPECT_THAT(system_calls::control().commands, IsEmpty());
}

TEST_F(ArchiveTest, ANameListThatCannotBeMadeIsASystemError) {
  system_calls::control().mkstemp_fails = true;
  DownloadSongs({"/m/a.mp3", "/m/b.mp3"});
  ExpectSystemError({"Failed to create a temp file."});
}

TEST_F(ArchiveTest, ANameListThatCannotBeWrittenIsASystemError) {
  for (const int left : {0, 1, 2, 3}) {
    host().log.clear();
    host().answers.clear();
    system_calls::control().writes_left = left;
    DownloadSongs({"/m/a.mp3", "/m/b.mp3"});
    system_calls::control().writes_left = -1;
    ExpectSystemError({"Failed to write temp file"});
  }
}

TEST_F(ArchiveTest, PlaylistsThatCannotBeOpenedHoldBackNoSong) {
  system_calls::control().fopen_fails = true;
  DownloadSongs({"/m/a.mp3", "/m/b.mp3"});
  EXPECT_EQ(NamesForZip(), "a.mp3\nb.mp3\nplaylist.m3u\nplaylist.m3u8\n");
}

TEST_F(ArchiveTest, AZipToolThatCannotBeStartedMeansTheSystemIsBusy) {
  system_calls::control().popen_fails = true;
  EXPECT_EQ(DownloadSongs({"/m/a.mp3", "/m/b.mp3"}), "");
  EXPECT_EQ(host().AnswerText(), R"({"error":{"key":"error_system_busy","section":"error"}})");
  EXPECT_THAT(host().Messages(),
              ElementsAre("Failed to open pipe " + system_calls::control().commands.front()));
  EXPECT_EQ(Leftovers(), std::vector<std::string>());
}

TEST_F(ArchiveTest, IsNotEndedByTheServer) {
  host().on["Output"] = [](const recording::Event &) { raise(SIGTERM); };
  DownloadSongs({});
  EXPECT_EQ(NamesForZip(), "playlist.m3u\nplaylist.m3u8\n");
  EXPECT_EQ(Leftovers(), std::vector<std::string>());
}

TEST_F(ArchiveTest, IsRemovedWhenTheServerEndsItBeforeItIsSent) {
  host().on["VEXOIndexCodePageGet"] = [](const recording::Event &) { raise(SIGTERM); };
  host().results["VLIBCUnicodeStrUTF8ToCP"] = {-1};
  EXPECT_EXIT(DownloadSongs({"/m/a.mp3", "/m/b.mp3"}), testing::KilledBySignal(SIGTERM), "");
  EXPECT_EQ(Leftovers(), std::vector<std::string>());
}

TEST_F(ArchiveTest, GoesOnWhenSigtermCannotBeIgnored) {
  system_calls::control().signal_fails = true;
  DownloadSongs({});
  EXPECT_THAT(host().Messages(), ElementsAre("Failed to signal()"));
  EXPECT_EQ(NamesForZip(), "playlist.m3u\nplaylist.m3u8\n");
}

TEST_F(ArchiveTest, AFolderThatIsGoneIsNotRemovedAgain) {
  host().on["Output"] = [](const recording::Event &) { fs::remove_all(fs::current_path()); };
  DownloadSongs({});
  EXPECT_EQ(system_calls::control().commands.size(), 1U);
}

TEST_F(ArchiveTest, OnlyItsUserSeesTheFolder) {
  mode_t mode = 0;
  host().on["Output"] = [&mode](const recording::Event &) {
    struct stat status {};
    stat(".", &status);
    mode = status.st_mode & 0777U;
  };
  DownloadSongs({});
  EXPECT_EQ(mode, 0700U);
}

TEST_F(ArchiveTest, TenThousandSongsOfOneNameAreNumberedInOneGo) {
  std::vector<std::string> paths;
  for (int number = 0; number < 10000; ++number) {
    paths.push_back("/m/" + std::to_string(number) + "/a.mp3");
  }
  DownloadSongs(paths);
  EXPECT_EQ(links_.size(), 10000U);
  EXPECT_EQ(links_["9998_a.mp3"], "/m/9999/a.mp3");
}

} // namespace
