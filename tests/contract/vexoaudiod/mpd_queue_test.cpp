// The conversation with an MPD, and what is made of its answers.
#include "scripted_mpd.h"
#include "support/temporary_folder.h"
#include "vexoaudiod/mpd_queue.h"
#include <atomic>
#include <csignal>
#include <filesystem>
#include <gmock/gmock.h>
#include <memory>

namespace vexo::audiod {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class MpdQueueTest : public ::testing::Test {
protected:
  static void SetUpTestSuite() { signal(SIGPIPE, SIG_IGN); }

  [[nodiscard]] std::string path() const { return folder_ / "mpd"; }
  [[nodiscard]] PlayerSettings Settings() const { return {path(), 0, "", "/music"}; }

  ScriptedMpd &Mpd(ScriptedMpd::Answer answer, const std::string &welcome = "OK MPD 0.23.5\n") {
    mpd_.reset();
    mpd_ = std::make_unique<ScriptedMpd>(path(), std::move(answer), welcome);
    return *mpd_;
  }
  /// An MPD with one entry in its queue.
  ScriptedMpd &MpdWith(const std::string &song) {
    return Mpd([song](const std::string &) {
      return "playlistlength: 1\nlist_OK\n" + song + "list_OK\nOK\n";
    });
  }
  QueueEntry OnlyEntry() {
    MpdConnection mpd(Settings());
    const QueuePart part = FetchQueue(mpd, 0, 5);
    EXPECT_EQ(part.entries.size(), 1U);
    return part.entries.at(0);
  }
  static std::vector<std::string> Paths(const QueuePart &part) {
    std::vector<std::string> paths;
    for (const QueueEntry &entry : part.entries) {
      paths.push_back(entry.res);
    }
    return paths;
  }

  TemporaryFolder folder_;
  std::unique_ptr<ScriptedMpd> mpd_;
};

TEST_F(MpdQueueTest, TotalAndEntriesAreAskedForInOneList) {
  ScriptedMpd &server = Mpd(QueueOfFiles(12));
  MpdConnection mpd(Settings());
  const QueuePart part = FetchQueue(mpd, 5, 2);
  EXPECT_EQ(part.total, 12U);
  EXPECT_THAT(Paths(part), ElementsAre("/music/a/5.mp3", "/music/a/6.mp3"));
  EXPECT_THAT(server.Commands(), ElementsAre("status|playlistinfo \"5:7\""));
}

TEST_F(MpdQueueTest, TheConnectionIsKept) {
  ScriptedMpd &server = Mpd(QueueOfFiles(12));
  MpdConnection mpd(Settings());
  for (unsigned offset = 0; offset < 12; offset += 5) {
    EXPECT_EQ(FetchQueue(mpd, offset, 5).total, 12U);
  }
  EXPECT_EQ(server.Connections(), 1);
}

TEST_F(MpdQueueTest, BeyondTheEndThereIsNothing) {
  Mpd(QueueOfFiles(3));
  MpdConnection mpd(Settings());
  for (const unsigned offset : {3U, 4U, 1000U, 2147483647U}) {
    const QueuePart part = FetchQueue(mpd, offset, 5);
    EXPECT_EQ(part.total, 3U) << offset;
    EXPECT_THAT(part.entries, IsEmpty()) << offset;
  }
  EXPECT_THAT(FetchQueue(mpd, 0, 5).entries, ::testing::SizeIs(3))
      << "the connection is still good";
}

TEST_F(MpdQueueTest, TheFolderIsAskedForWhenItIsNotConfigured) {
  ScriptedMpd &server = Mpd(QueueOfFiles(1));
  PlayerSettings settings = Settings();
  settings.music_directory.clear();
  MpdConnection mpd(settings);
  EXPECT_THAT(Paths(FetchQueue(mpd, 0, 1)), ElementsAre("/music/a/0.mp3"));
  EXPECT_THAT(server.Commands(), ElementsAre("config", "status|playlistinfo \"0:1\""));
}

TEST_F(MpdQueueTest, AnMpdThatDoesNotTellItsFolderLeavesPathsAsTheyAre) {
  Mpd([](const std::string &command) {
    return command == "config" ? "ACK [4@0] {config} Access denied\n" : QueueOfFiles(1)(command);
  });
  PlayerSettings settings = Settings();
  settings.music_directory.clear();
  MpdConnection mpd(settings);
  EXPECT_THAT(Paths(FetchQueue(mpd, 0, 1)), ElementsAre("a/0.mp3"));
}

TEST_F(MpdQueueTest, APartitionIsEnteredFirst) {
  ScriptedMpd &server = Mpd(QueueOfFiles(1));
  PlayerSettings settings = Settings();
  settings.partition = "attic \"2\"";
  MpdConnection mpd(settings);
  FetchQueue(mpd, 0, 1);
  EXPECT_THAT(server.Commands(),
              ElementsAre("partition \"attic \\\"2\\\"\"", "status|playlistinfo \"0:1\""));
}

TEST_F(MpdQueueTest, APartitionThatIsNotThereIsAnError) {
  Mpd([](const std::string &) { return "ACK [50@0] {partition} partition does not exist\n"; });
  PlayerSettings settings = Settings();
  settings.partition = "attic";
  MpdConnection mpd(settings);
  EXPECT_THROW(FetchQueue(mpd, 0, 1), MpdError);
}

struct PathRow {
  const char *description;
  const char *uri;
  const char *res;
};

TEST_F(MpdQueueTest, AFileIsItsFullPathAndAStreamItsAddress) {
  const PathRow rows[] = {
      {"a file of the folder", "a/b c.mp3", "/music/a/b c.mp3"},
      {"odd letters", "\"ü\"\t'\\.mp3", "/music/\"ü\"\t'\\.mp3"},
      {"a file of elsewhere", "/srv/other.mp3", "/srv/other.mp3"},
      {"a file of elsewhere, as an address", "file:///srv/a b.mp3", "/srv/a b.mp3"},
      {"a stream", "http://radio.example/a?b=c", "http://radio.example/a?b=c"},
      {"a track of a sheet", "a/b.cue/track0001", "/music/a/b.cue/track0001"},
      {"a colon is no scheme", "a: b.mp3", "/music/a: b.mp3"},
  };
  for (const PathRow &row : rows) {
    MpdWith("file: " + std::string(row.uri) + "\nPos: 0\nId: 1\n");
    EXPECT_EQ(OnlyEntry().res, row.res) << row.description;
  }
}

TEST_F(MpdQueueTest, TagsAreTaken) {
  MpdWith("file: a.mp3\nTime: 215\nduration: 215.932\nFormat: 48000:24:2\nTitle: T\nArtist: A\n"
          "Artist: Second\nAlbum: B\nGenre: G\nTrack: 3/12\nDisc: 2\nDate: 1987-05-01\nPos: 0\n"
          "Id: 1\n");
  const QueueEntry entry = OnlyEntry();
  EXPECT_EQ(entry.title, "T");
  EXPECT_EQ(entry.artist, "A");
  EXPECT_EQ(entry.album, "B");
  EXPECT_EQ(entry.genre, "G");
  EXPECT_EQ(entry.track, 3);
  EXPECT_EQ(entry.disc, 2);
  EXPECT_EQ(entry.year, 1987);
  EXPECT_EQ(entry.duration_seconds, 215U);
  EXPECT_EQ(entry.sample_rate, 48000U);
  EXPECT_EQ(entry.channels, 2U);
}

TEST_F(MpdQueueTest, TagsThatAreNoNumbersAreNotKnown) {
  MpdWith("file: a.mp3\nTrack: A1\nDisc: -3\nDate: 99999999999\nPos: 0\nId: 1\n");
  const QueueEntry entry = OnlyEntry();
  EXPECT_EQ(entry.track, 0);
  EXPECT_EQ(entry.disc, 0);
  EXPECT_EQ(entry.year, 1000000);
}

TEST_F(MpdQueueTest, AStationWithoutATitleHasItsName) {
  MpdWith("file: http://radio/\nName: Radio\nPos: 0\nId: 1\n");
  EXPECT_EQ(OnlyEntry().title, "Radio");
}

TEST_F(MpdQueueTest, AnMpdThatIsNotThereIsAnError) {
  MpdConnection mpd(Settings());
  EXPECT_THROW(FetchQueue(mpd, 0, 5), MpdError);
}

TEST_F(MpdQueueTest, AnMpdThatComesLaterIsFound) {
  MpdConnection mpd(Settings());
  EXPECT_THROW(FetchQueue(mpd, 0, 5), MpdError);
  Mpd(QueueOfFiles(2));
  EXPECT_EQ(FetchQueue(mpd, 0, 5).total, 2U);
}

TEST_F(MpdQueueTest, AnMpdThatWasRestartedIsConnectedToAgain) {
  Mpd(QueueOfFiles(2));
  MpdConnection mpd(Settings());
  EXPECT_EQ(FetchQueue(mpd, 0, 5).total, 2U);
  Mpd(QueueOfFiles(3));
  EXPECT_EQ(FetchQueue(mpd, 0, 5).total, 3U);
}

TEST_F(MpdQueueTest, AnMpdThatAlwaysHangsUpIsTriedTwiceAtMost) {
  int answered = 0;
  ScriptedMpd &server = Mpd([&answered](const std::string &command) -> std::string {
    return answered++ == 0 ? QueueOfFiles(1)(command) : ScriptedMpd::kClose;
  });
  MpdConnection mpd(Settings());
  FetchQueue(mpd, 0, 5);
  EXPECT_THROW(FetchQueue(mpd, 0, 5), MpdError);
  EXPECT_EQ(server.Connections(), 2);
  EXPECT_THAT(server.Commands(), ::testing::SizeIs(3));
}

TEST_F(MpdQueueTest, WhatIsNoMpdIsAnError) {
  for (const char *welcome : {"HTTP/1.1 400 Bad Request\n", "OK MPD\n", "\n", "close"}) {
    Mpd([](const std::string &) { return ScriptedMpd::kClose; }, welcome);
    MpdConnection mpd(Settings());
    EXPECT_THROW(FetchQueue(mpd, 0, 5), MpdError) << welcome;
  }
}

TEST_F(MpdQueueTest, AnswersThatAreNoneAreErrors) {
  const char *answers[] = {
      "OK\n",
      "garbage\n",
      "list_OK\n",
      "playlistlength: 2\nOK\n",
      "playlistlength: 2\nlist_OK\nfile: a\nno colon\n",
      "ACK [4@0] {status} you don't have permission for \"status\"\n",
      "playlistlength: 2\nlist_OK\nACK [4@1] {playlistinfo} you don't have permission\n",
      "playlistlength: 2\nlist_OK\nfile: a\nfile: b\nfile: c\nlist_OK\nOK\n",
  };
  for (const char *answer : answers) {
    Mpd([answer](const std::string &command) { return answer + std::string(command, 0, 0); });
    MpdConnection mpd(Settings());
    EXPECT_THROW(FetchQueue(mpd, 0, 2), MpdError) << answer;
  }
}

TEST_F(MpdQueueTest, AnswersWithoutAnEndAreErrors) {
  const std::string status = "playlistlength: 2\nlist_OK\n";
  std::string lines;
  while (lines.size() <= MpdConnection::kMostAnswerBytes * 2) {
    lines += "Title: " + std::string(2000, 'x') + "\n";
  }
  PlayerSettings asking = Settings();
  asking.music_directory.clear();
  asking.partition = "attic";
  const auto answer_to = [&](const std::string &wanted, const std::string &answer) {
    return [=](const std::string &command) {
      return command.starts_with(wanted) ? answer : QueueOfFiles(2)(command);
    };
  };
  const std::pair<const char *, std::string> answers[] = {
      {"partition", lines},
      {"config", lines},
      {"status", lines},
      {"status", status + "file: a\n" + lines},
      {"status", status + "file: a\nlist_OK\n" + lines},
  };
  for (const auto &[command, answer] : answers) {
    Mpd(answer_to(command, answer));
    MpdConnection mpd(asking);
    try {
      FetchQueue(mpd, 0, 2);
      ADD_FAILURE() << command;
    } catch (const MpdError &error) {
      EXPECT_STREQ(error.what(), "an answer that is too long") << command;
    }
  }
}

TEST_F(MpdQueueTest, AnAnswerMustEndInItsTime) {
  Mpd(QueueOfFiles(2));
  MpdConnection mpd(Settings(), {.answer = std::chrono::seconds(0)});
  try {
    FetchQueue(mpd, 0, 2);
    ADD_FAILURE();
  } catch (const MpdError &error) {
    EXPECT_STREQ(error.what(), "an answer that takes too long");
  }
}

TEST_F(MpdQueueTest, AWaitForAnMpdThatHangsIsEndedFromOutside) {
  std::atomic<bool> asked = false;
  Mpd([&asked](const std::string &) {
    asked = true;
    return ScriptedMpd::kHang;
  });
  MpdConnection mpd(Settings());
  std::thread other([&] {
    while (!asked) {
      std::this_thread::yield();
    }
    mpd.Abort();
  });
  EXPECT_THROW(FetchQueue(mpd, 0, 5), MpdError);
  other.join();
  EXPECT_THROW(FetchQueue(mpd, 0, 5), MpdError) << "it is over for good";
}

TEST_F(MpdQueueTest, AnMpdThatHangsIsGivenUp) {
  Mpd([](const std::string &) { return ScriptedMpd::kHang; });
  MpdConnection mpd(Settings());
  EXPECT_THROW(FetchQueue(mpd, 0, 5), MpdError);
}

TEST_F(MpdQueueTest, TheFolderIsKnownWithoutItsLinks) {
  std::filesystem::create_directory(folder_ / "real");
  std::filesystem::create_directory_symlink(folder_ / "real", folder_ / "link");
  Mpd(QueueOfFiles(1));
  PlayerSettings settings = Settings();
  settings.music_directory = folder_ / "link";
  MpdConnection mpd(settings);
  EXPECT_THAT(Paths(FetchQueue(mpd, 0, 1)), ElementsAre(folder_ / "link/a/0.mp3"));
  EXPECT_EQ(mpd.music_directory(), folder_ / "link");
  EXPECT_EQ(mpd.real_music_directory(), folder_ / "real");
}

} // namespace
} // namespace vexo::audiod
