// The capture of a player's queue.
#include "player/queue.h"

#include "model/song_json.h"
#include "player_test.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using Command = ScriptedDaemon::Command;
using system_calls::control;

constexpr const char *kFailed = "Could not get the playlist of the player";

class LoadPlayerQueueTest : public PlayerTest {
protected:
  int Load(const std::string &target) {
    host().parameters["target"] = target;
    return LoadFor(target);
  }
  int LoadFor(const std::string &target) {
    songs_.reset();
    VEXOPlaylistRec *head = nullptr;
    WebMan request;
    const int total = LoadPlayerQueue(request, target.c_str(), &head);
    songs_.reset(head);
    return total;
  }
  std::vector<std::string> Paths() {
    std::vector<std::string> paths;
    for (const VEXOPlaylistRec *node = songs_.get(); node != nullptr; node = node->next) {
      paths.emplace_back(node->info.path);
    }
    return paths;
  }
  void ExpectFailure(const std::string &reply) {
    DaemonThatSays(reply);
    host().log.clear();
    EXPECT_EQ(Load("0"), -1) << reply;
    EXPECT_THAT(host().Messages(), ElementsAre(kFailed)) << reply;
  }

  SongList songs_;
};

std::string Entry(int number) {
  return R"({"res":"/music/)" + std::to_string(number) + R"(.mp3"})";
}

/// A page of a queue whose entries are numbered.
std::string Page(int first, int count, int total) {
  std::string entries;
  for (int number = first; number < first + count; ++number) {
    entries += (entries.empty() ? "" : ",") + Entry(number);
  }
  return R"({"uris":[)" + entries + R"(],"total":)" + std::to_string(total) + "}";
}

/// A daemon whose queue has `total` entries.
ScriptedDaemon::Answer QueueOf(int total) {
  return [total](const Command &command) {
    int offset = 0;
    int size = 0;
    if (sscanf(command.argument().c_str(), "%d %d", &offset, &size) == 2) {
      command.Say(Page(offset, std::max(0, std::min(size, total - offset)), total));
    } else {
      command.Say("{}");
    }
  };
}

/// A daemon that says one reply a page, and the last one again and again.
ScriptedDaemon::Answer Pages(std::vector<std::string> pages) {
  return [pages, next = std::size_t{0}](const Command &command) mutable {
    if (command.code() != 30) {
      command.Say("{}");
      return;
    }
    command.Say(pages[std::min(next, pages.size() - 1)]);
    ++next;
  };
}

std::vector<std::string> NumberedPaths(int count) {
  std::vector<std::string> paths;
  for (int number = 0; number < count; ++number) {
    paths.push_back("/music/" + std::to_string(number) + ".mp3");
  }
  return paths;
}

TEST_F(LoadPlayerQueueTest, AQueueOf12IsFetchedInPagesOf5And5And2) {
  ScriptedDaemon &scripted = Daemon(QueueOf(12));
  EXPECT_EQ(Load("3"), 12);
  EXPECT_THAT(scripted.Commands(), ElementsAre("21 3", "30 0 5", "30 5 5", "30 10 2"));
  EXPECT_EQ(Paths(), NumberedPaths(12));
  EXPECT_THAT(host().log, IsEmpty());
}

struct PagesRow {
  int total;
  std::vector<std::string> pages;
};

TEST_F(LoadPlayerQueueTest, TheLastPageAsksForWhatIsLeft) {
  const PagesRow rows[] = {
      {0, {"30 0 5"}},
      {1, {"30 0 5"}},
      {5, {"30 0 5"}},
      {6, {"30 0 5", "30 5 1"}},
      {10, {"30 0 5", "30 5 5"}},
      {11, {"30 0 5", "30 5 5", "30 10 1"}},
  };
  for (const PagesRow &row : rows) {
    ScriptedDaemon &scripted = Daemon(QueueOf(row.total));
    EXPECT_EQ(Load("0"), row.total);
    std::vector<std::string> expected = {"21 0"};
    expected.insert(expected.end(), row.pages.begin(), row.pages.end());
    EXPECT_EQ(scripted.Commands(), expected) << row.total;
    EXPECT_EQ(Paths(), NumberedPaths(row.total)) << row.total;
  }
}

struct TargetRow {
  const char *target;
  const char *selection;
};

TEST_F(LoadPlayerQueueTest, TheTargetNamesAPlayer) {
  const TargetRow rows[] = {
      {"usb", "21 -1"}, {"USB", "21 0"},  {"0", "21 0"},  {"7", "21 7"}, {"-1", "21 -1"},
      {"none", "21 0"}, {"12x", "21 12"}, {" 4", "21 4"}, {"", "21 0"},  {"Stream", "21 0"},
  };
  for (const TargetRow &row : rows) {
    ScriptedDaemon &scripted = Daemon(QueueOf(0));
    EXPECT_EQ(Load(row.target), 0) << row.target;
    EXPECT_THAT(scripted.Commands(), ElementsAre(row.selection, "30 0 5")) << row.target;
  }
}

TEST_F(LoadPlayerQueueTest, TheRequestTellsAStreamAndTheArgumentThePlayer) {
  ScriptedDaemon &scripted = Daemon(QueueOf(0));
  host().parameters["target"] = "5";
  EXPECT_EQ(LoadFor("stream"), 0);
  EXPECT_THAT(scripted.Commands(), ElementsAre("21 0", "30 0 5"));
  host().parameters.erase("target");
  EXPECT_EQ(LoadFor("usb"), 0);
}

TEST_F(LoadPlayerQueueTest, EveryFieldOfAnEntryIsTaken) {
  Daemon(Pages({R"({"uris":[{"res":"/a.mp3","item_id":"playing@7","title":"T","artist":"A",)"
                R"("album":"B","genre":"G","duration":215,"track":3,"size":"123"}],"total":1})"}));
  ASSERT_EQ(Load("0"), 1);
  const __tag_VEXO_MEDIA_INFO &song = songs_->info;
  EXPECT_STREQ(song.path, "/a.mp3");
  EXPECT_EQ(song.id, 7);
  EXPECT_STREQ(song.title, "T");
  EXPECT_STREQ(song.artist, "A");
  EXPECT_STREQ(song.album, "B");
  EXPECT_STREQ(song.genre, "G");
  EXPECT_EQ(song.duration, 215);
  EXPECT_EQ(song.track, 3);
  EXPECT_EQ(song.size, 123U);
}

TEST_F(LoadPlayerQueueTest, ADaemonThatDoesNotRunFailsTheSelection) {
  EXPECT_EQ(Load("0"), -1);
  EXPECT_THAT(host().log, SizeIs(1)) << "only that there is no connection";
  EXPECT_EQ(host().log[0].module, "ctrl.c");
}

TEST_F(LoadPlayerQueueTest, ASelectionWithoutAnAnswerAsksForNoPage) {
  ScriptedDaemon &scripted = Daemon([](const Command &command) { command.WaitForHangUp(); });
  EXPECT_EQ(Load("0"), -1);
  EXPECT_THAT(scripted.Commands(), ElementsAre("21 0"));
  EXPECT_THAT(host().log, IsEmpty());
}

TEST_F(LoadPlayerQueueTest, WhatTheDaemonSaysToTheSelectionDoesNotMatter) {
  Daemon([](const Command &command) {
    command.Say(command.code() == 21 ? "no such player" : Page(0, 1, 1));
  });
  EXPECT_EQ(Load("0"), 1);
}

TEST_F(LoadPlayerQueueTest, APageWithoutAnAnswerFails) {
  Daemon([](const Command &command) {
    if (command.code() == 21) {
      command.Say("{}");
    } else {
      command.WaitForHangUp();
    }
  });
  EXPECT_EQ(Load("0"), -1);
  EXPECT_THAT(host().Messages(), ElementsAre(kFailed));
  EXPECT_EQ(host().log[0].module, "audio_playlist.cpp");
}

TEST_F(LoadPlayerQueueTest, ALaterPageWithoutAnAnswerFailsAndLeavesTheListToTheCaller) {
  Daemon([](const Command &command) {
    if (command.argument() != "5 5") {
      command.Say(Page(0, 5, 12));
    }
  });
  EXPECT_EQ(Load("0"), -1);
  EXPECT_THAT(Paths(), SizeIs(5));
  EXPECT_THAT(host().log, SizeIs(2));
}

TEST_F(LoadPlayerQueueTest, WhatIsNoJsonObjectIsAnEmptyQueue) {
  const std::string replies[] = {
      "garbage",
      "{",
      R"({"uris":[{"res":"/cut.mp3"},{"re)",
      "[]",
      R"([{"res":"/a.mp3"}])",
      "12",
      "\"text\"",
      "null",
      "{}",
      R"({"uris":null,"total":null})",
      std::string("\0{}", 3),
      "\xff\xfe\x00",
      std::string(20000, '['),
      R"({"uris":)" + std::string(20000, '['),
      std::string(16000, ' ') + std::string(4000, '{'),
  };
  for (const std::string &reply : replies) {
    DaemonThatSays(reply);
    EXPECT_EQ(Load("0"), 0) << reply.substr(0, 60);
    EXPECT_THAT(Paths(), IsEmpty()) << reply.substr(0, 60);
  }
  EXPECT_THAT(host().log, IsEmpty());
}

TEST_F(LoadPlayerQueueTest, WhatFollowsTheObjectIsNotRead) {
  DaemonThatSays(Page(0, 1, 1) + " more");
  EXPECT_EQ(Load("0"), 1);
  EXPECT_EQ(Paths(), NumberedPaths(1));
}

TEST_F(LoadPlayerQueueTest, ALaterPageThatIsNoJsonEndsTheCapture) {
  Daemon(Pages({Page(0, 5, 12), "garbage"}));
  EXPECT_EQ(Load("0"), 0);
  EXPECT_EQ(Paths(), NumberedPaths(5));
}

TEST_F(LoadPlayerQueueTest, ATotalThatIsNoCountOfEntriesFails) {
  for (const char *total :
       {"-1", "-2147483648", "1000001", "2147483647", "2147483648", "18446744073709551615",
        "-9223372036854775808", "1e99", "1.5", "\"12\"", "true", "[]", "[12]", "{}"}) {
    ExpectFailure(std::string(R"({"uris":[],"total":)") + total + "}");
  }
}

TEST_F(LoadPlayerQueueTest, UrisThatAreNoArrayFail) {
  for (const char *entries : {"{}", R"({"a":{"res":"/a"}})", "\"text\"", "3", "true"}) {
    ExpectFailure(std::string(R"({"total":3,"uris":)") + entries + "}");
  }
}

TEST_F(LoadPlayerQueueTest, AnEntryThatIsNoSongFails) {
  for (const char *entry :
       {"3", "\"/a.mp3\"", "null", "[]", "true", R"({"res":3})", R"({"res":["/a.mp3"]})",
        R"({"res":"/a","item_id":7})", R"({"res":"/a","title":{}})", R"({"res":"/a","size":12})",
        R"({"res":"/a","albumArtURL":false})"}) {
    ExpectFailure(std::string(R"({"total":3,"uris":[)") + Entry(1) + "," + entry + "]}");
    EXPECT_EQ(Paths().at(0), "/music/1.mp3") << "the list so far is the caller's";
  }
}

TEST_F(LoadPlayerQueueTest, ATotalOfAMillionIsBelievedUntilThePagesEnd) {
  ScriptedDaemon &scripted = Daemon(Pages({Page(0, 5, 1000000), Page(5, 1, 6)}));
  EXPECT_EQ(Load("0"), 6);
  EXPECT_THAT(scripted.Commands(), ElementsAre("21 0", "30 0 5", "30 5 5"));
  EXPECT_EQ(Paths(), NumberedPaths(6));
}

TEST_F(LoadPlayerQueueTest, EmptyPagesStillAdvance) {
  ScriptedDaemon &scripted = Daemon(Pages({R"({"total":12})"}));
  EXPECT_EQ(Load("0"), 12);
  EXPECT_THAT(scripted.Commands(), ElementsAre("21 0", "30 0 5", "30 5 5", "30 10 2"));
  EXPECT_THAT(Paths(), IsEmpty());
}

TEST_F(LoadPlayerQueueTest, AFirstPageWithoutEntriesLeavesTheHeadToTheNext) {
  Daemon(Pages({R"({"total":7,"uris":[]})", Page(0, 2, 7)}));
  EXPECT_EQ(Load("0"), 7);
  EXPECT_EQ(Paths(), NumberedPaths(2));
}

TEST_F(LoadPlayerQueueTest, AQueueThatShrinksBelowTheOffsetEnds) {
  Daemon(Pages({Page(0, 5, 12), Page(5, 0, 3)}));
  EXPECT_EQ(Load("0"), 3);
  EXPECT_EQ(Paths(), NumberedPaths(5));
}

TEST_F(LoadPlayerQueueTest, AQueueThatGrowsIsFollowedInPagesOfTheLastSize) {
  ScriptedDaemon &scripted = Daemon(Pages({Page(0, 5, 6), Page(5, 1, 8), Page(6, 1, 8)}));
  EXPECT_EQ(Load("0"), 8);
  EXPECT_THAT(scripted.Commands(), ElementsAre("21 0", "30 0 5", "30 5 1", "30 6 1", "30 7 1"));
}

TEST_F(LoadPlayerQueueTest, APageWithMoreEntriesThanAskedForIsTakenWhole) {
  Daemon(Pages({Page(0, 300, 5)}));
  EXPECT_EQ(Load("0"), 5);
  EXPECT_EQ(Paths(), NumberedPaths(300));
}

TEST_F(LoadPlayerQueueTest, PagesWithThousandsOfEntriesEndAtTheMostThatAQueueMayHave) {
  std::string entries = "{}";
  for (int count = 1; count < 10000; ++count) {
    entries += ",{}";
  }
  ScriptedDaemon &scripted = Daemon(Pages({R"({"total":1000000,"uris":[)" + entries + "]}"}));
  VEXOPlaylistRec node{};
  control().only_memory = &node;
  EXPECT_EQ(Load("0"), -1);
  control().only_memory = nullptr;
  ASSERT_EQ(songs_.release(), &node);
  EXPECT_THAT(host().Messages(), ElementsAre(kFailed));
  EXPECT_THAT(scripted.Commands(), SizeIs(102)) << "the selection, and one page too many";
}

TEST_F(LoadPlayerQueueTest, AReplyThatFillsTheBufferIsReadWithinIt) {
  std::string reply = Page(0, 1, 1);
  reply += std::string(40960 - reply.size(), ' ');
  Daemon([reply](const Command &command) {
    // One message, so that one read takes all of it.
    const int size = 1 << 20;
    setsockopt(command.connection, SOL_SOCKET, SO_SNDBUF, &size, sizeof size);
    command.Say(reply + "never read");
  });
  EXPECT_EQ(Load("0"), 1);
  EXPECT_EQ(Paths(), NumberedPaths(1));
}

TEST_F(LoadPlayerQueueTest, AnAllocationThatFailsIsLogged) {
  Daemon(QueueOf(12));
  control().callocs_left = 7;
  EXPECT_EQ(Load("0"), -1);
  EXPECT_THAT(host().Messages(), ElementsAre("Failed to calloc."));
  EXPECT_EQ(Paths(), NumberedPaths(7)) << "the list so far is the caller's";
}

class LoadStreamQueueTest : public LoadPlayerQueueTest {};

TEST_F(LoadStreamQueueTest, IsReadFromTheUsersFile) {
  host().records["PlaylistFileLoad"] = {recording::Song(1, "/a.mp3", "A"),
                                        recording::Song(0, "http://radio/"),
                                        recording::Song(3, "/c.mp3")};
  EXPECT_EQ(Load("stream"), 3);
  EXPECT_THAT(Paths(), ElementsAre("/a.mp3", "http://radio/", "/c.mp3"));
  EXPECT_STREQ(songs_->info.title, "A");
  EXPECT_THAT(host().Calls("PlaylistFileLoad"),
              ElementsAre("PlaylistFileLoad(\"" + root() + "/tmp/playing_anna.pls\", 0, 0)"));
  EXPECT_EQ(host().open_files, 0);
}

TEST_F(LoadStreamQueueTest, AnEmptyFileIsAnEmptyQueue) {
  host().records["PlaylistFileLoad"] = {};
  EXPECT_EQ(Load("stream"), 0);
  EXPECT_THAT(Paths(), IsEmpty());
  EXPECT_EQ(host().open_files, 0);
}

TEST_F(LoadStreamQueueTest, AFileThatIsNotThereIsLoggedWithItsPath) {
  EXPECT_EQ(Load("stream"), -1);
  EXPECT_THAT(host().Messages(),
              ElementsAre("Cannot load the playlist from " + root() + "/tmp/playing_anna.pls"));
  EXPECT_EQ(host().log[0].module, "audio_playlist.cpp");
}

TEST_F(LoadStreamQueueTest, TheDaemonIsNotAsked) {
  ScriptedDaemon &scripted = DaemonThatSays("{}");
  host().records["PlaylistFileLoad"] = {};
  EXPECT_EQ(Load("stream"), 0);
  EXPECT_THAT(scripted.Commands(), IsEmpty());
}

TEST_F(LoadStreamQueueTest, AnAllocationThatFailsIsLogged) {
  host().records["PlaylistFileLoad"] = {recording::Song(1, "/a.mp3"), recording::Song(2, "/b.mp3")};
  control().callocs_left = 1;
  EXPECT_EQ(Load("stream"), -1);
  EXPECT_THAT(host().Messages(), ElementsAre("Failed to calloc."));
  EXPECT_THAT(Paths(), ElementsAre("/a.mp3"));
  EXPECT_EQ(host().open_files, 1) << "the process ends with it";
}

} // namespace
