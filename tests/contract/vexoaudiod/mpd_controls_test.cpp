// What a player does, and what is told it, as a conversation with an MPD.
#include "scripted_mpd.h"
#include "support/temporary_folder.h"
#include "vexoaudiod/mpd_controls.h"
#include <csignal>
#include <gmock/gmock.h>
#include <memory>

namespace vexo::audiod {
namespace {

using ::testing::ElementsAre;
using ::testing::SizeIs;

constexpr const char *kPlaying =
    "volume: 40\nrepeat: 1\nrandom: 0\nplaylistlength: 3\nstate: play\n"
    "song: 1\nelapsed: 61.500\ntime: 61:180\nlist_OK\n"
    "file: a/b.mp3\nTitle: T\nPos: 1\nlist_OK\nOK\n";

class MpdControlsTest : public ::testing::Test {
protected:
  static void SetUpTestSuite() { signal(SIGPIPE, SIG_IGN); }

  [[nodiscard]] std::string path() const { return folder_ / "mpd"; }
  ScriptedMpd &Mpd(ScriptedMpd::Answer answer) {
    return *(mpd_ = std::make_unique<ScriptedMpd>(path(), std::move(answer)));
  }
  ScriptedMpd &MpdThatSays(const std::string &answer) {
    return Mpd([answer](const std::string &) { return answer; });
  }

  TemporaryFolder folder_;
  std::unique_ptr<ScriptedMpd> mpd_;
  MpdConnection connection_{{path(), 0, "", "/music"}};
};

TEST_F(MpdControlsTest, TheStatusTellsWhatPlays) {
  ScriptedMpd &server = MpdThatSays(kPlaying);
  const PlayerStatus status = ControlMpd(connection_, {0, Control::kStatus, 0, 0});
  EXPECT_STREQ(status.state, "play");
  EXPECT_EQ(status.position, 1);
  EXPECT_EQ(status.queue_length, 3U);
  EXPECT_EQ(status.elapsed_milliseconds, 61500U);
  EXPECT_EQ(status.duration_milliseconds, 180000U);
  EXPECT_EQ(status.volume_percent, 40);
  EXPECT_TRUE(status.repeat);
  EXPECT_FALSE(status.random);
  ASSERT_THAT(status.song, SizeIs(1));
  EXPECT_EQ(status.song[0].res, "/music/a/b.mp3");
  EXPECT_THAT(server.Commands(), ElementsAre("status|currentsong"));
}

TEST_F(MpdControlsTest, APlayerThatStandsStillHasNoSong) {
  MpdThatSays("volume: -1\nplaylistlength: 0\nstate: stop\nlist_OK\nlist_OK\nOK\n");
  const PlayerStatus status = ControlMpd(connection_, {0, Control::kStatus, 0, 0});
  EXPECT_STREQ(status.state, "stop");
  EXPECT_EQ(status.position, -1);
  EXPECT_EQ(status.volume_percent, -1);
  EXPECT_THAT(status.song, SizeIs(0));
}

TEST_F(MpdControlsTest, EachControlIsOneCommandBeforeTheStatus) {
  struct Row {
    Control control;
    unsigned value;
    const char *command;
    unsigned second = 0;
  };
  for (const Row &row :
       {Row{Control::kPlay, 7, "play \"7\""}, Row{Control::kResume, 0, "play"},
        Row{Control::kPause, 0, "pause \"1\""}, Row{Control::kStop, 0, "stop"},
        Row{Control::kNext, 0, "next"}, Row{Control::kPrevious, 0, "previous"},
        Row{Control::kSeek, 61500, "seekcur \"61.500\""},
        Row{Control::kVolume, 40, "setvol \"40\""}, Row{Control::kRepeat, 1, "repeat \"1\""},
        Row{Control::kRandom, 0, "random \"0\""}, Row{Control::kRemove, 3, "delete \"3:5\"", 2},
        Row{Control::kMove, 3, "move \"3\" \"1\"", 1}}) {
    ScriptedMpd &server = MpdThatSays(std::string("list_OK\n") + kPlaying);
    MpdConnection connection({path(), 0, "", "/music"});
    EXPECT_EQ(ControlMpd(connection, {0, row.control, row.value, row.second}).queue_length, 3U);
    EXPECT_THAT(server.Commands(), ElementsAre(std::string(row.command) + "|status|currentsong"));
    mpd_.reset();
  }
}

TEST_F(MpdControlsTest, WhatThePlayerRefusesIsSaidSo) {
  MpdThatSays("ACK [55@0] {seekcur} Not playing\n");
  try {
    ControlMpd(connection_, {0, Control::kSeek, 1, 0});
    FAIL();
  } catch (const MpdError &error) {
    EXPECT_EQ(error.kind(), MpdError::Kind::kRefused);
    EXPECT_STREQ(error.what(), "Not playing");
  }
}

TEST_F(MpdControlsTest, ACommandIsWaitedForLongerThanAQuestion) {
  constexpr Patience kPatience{.line = std::chrono::seconds(1), .command = std::chrono::seconds(2)};
  Mpd([](const std::string &) { return ScriptedMpd::kHang; });
  MpdConnection connection({path(), 0, "", "/music"}, kPatience);
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_THROW((void)ControlMpd(connection, {0, Control::kNext, 0, 0}), MpdError);
  EXPECT_GE(std::chrono::steady_clock::now() - begin, kPatience.command);
}

TEST_F(MpdControlsTest, TheAnswerToACommandMayComeLaterThanThatToAQuestion) {
  constexpr Patience kNone{.answer = std::chrono::seconds(0)};
  Mpd([](const std::string &command) {
    return command.starts_with("next") ? std::string("list_OK\n") + kPlaying : kPlaying;
  });
  MpdConnection connection({path(), 0, "", "/music"}, kNone);
  EXPECT_STREQ(ControlMpd(connection, {0, Control::kNext, 0, 0}).state, "play");
  EXPECT_THROW((void)ControlMpd(connection, {0, Control::kStatus, 0, 0}), MpdError);
}

TEST_F(MpdControlsTest, SongsAreNamedAsMpdNamesThem) {
  ScriptedMpd &server = MpdThatSays("OK\n");
  const LoadResult result = LoadIntoMpd(
      connection_, {"/music/a b.mp3", "/musical/c.mp3", "http://radio.example/"}, Place::kReplace);
  EXPECT_EQ(result.added, 3U);
  EXPECT_EQ(result.refused, 0U);
  EXPECT_THAT(server.Commands(), ElementsAre("clear|add \"a b.mp3\"|add \"/musical/c.mp3\"|add "
                                             "\"http://radio.example/\"",
                                             "play \"0\""));
}

TEST_F(MpdControlsTest, ASongThatMpdRefusesIsPassedOver) {
  ScriptedMpd &server = Mpd([](const std::string &command) {
    const bool is_bad = command.find("bad") != std::string::npos;
    return std::string(is_bad && command.find("clear") != std::string::npos
                           ? "ACK [50@2] {add} No such file\n"
                       : is_bad ? "ACK [50@0] {add} No such file\n"
                                : "OK\n");
  });
  const LoadResult result = LoadIntoMpd(
      connection_, {"/music/1", "/music/bad", "/music/bad 2", "/music/2"}, Place::kReplace);
  EXPECT_EQ(result.added, 2U);
  EXPECT_EQ(result.refused, 2U);
  EXPECT_THAT(server.Commands(), ElementsAre("clear|add \"1\"|add \"bad\"|add \"bad 2\"|add \"2\"",
                                             "add \"bad 2\"|add \"2\"", "add \"2\"", "play \"0\""));
}

TEST_F(MpdControlsTest, PlayingBeginsWithTheSongThatIsMeant) {
  const std::vector<std::string> songs = {"/music/1", "/music/bad", std::string(5000, 'x'),
                                          "/music/2", "/music/bad", "/music/3"};
  struct Row {
    std::size_t begin;
    const char *command;
  };
  for (const Row &row :
       {Row{0, "play \"0\""}, Row{1, "play \"1\""}, Row{2, "play \"1\""}, Row{3, "play \"1\""},
        Row{4, "play \"2\""}, Row{5, "play \"2\""}, Row{6, "play \"2\""}}) {
    ScriptedMpd &server = Mpd([](const std::string &command) -> std::string {
      const std::size_t bad = command.find("add \"bad\"");
      return bad == std::string::npos
                 ? "OK\n"
                 : "ACK [50@" +
                       std::to_string(std::count(command.begin(),
                                                 command.begin() + static_cast<long>(bad), '|')) +
                       "] {add} No such file\n";
    });
    MpdConnection connection({path(), 0, "", "/music"});
    EXPECT_EQ(LoadIntoMpd(connection, songs, Place::kReplace, row.begin).added, 3U);
    EXPECT_EQ(server.Commands().back(), row.command) << row.begin;
    mpd_.reset();
  }
}

/// What MPD answers who puts songs next while `status` holds.
ScriptedMpd::Answer NextTo(const std::string &status) {
  return [status](const std::string &command) -> std::string {
    const std::size_t bad = command.find("addid \"bad\"");
    return command == "status"        ? status + "list_OK\nOK\n"
           : bad != std::string::npos ? "Id: 7\nACK [50@1] {addid} No such file\n"
                                      : "OK\n";
  };
}

TEST_F(MpdControlsTest, SongsThatComeNextGoBehindTheOneThatPlays) {
  ScriptedMpd &server = Mpd(NextTo("playlistlength: 9\nstate: play\nsong: 4\n"));
  const LoadResult result =
      LoadIntoMpd(connection_, {"/music/1", "/music/bad", "/music/2"}, Place::kNext);
  EXPECT_EQ(result.added, 2U);
  EXPECT_EQ(result.refused, 1U);
  EXPECT_THAT(server.Commands(),
              ElementsAre("status", "addid \"1\" \"5\"|addid \"bad\" \"6\"|addid \"2\" \"7\"",
                          "addid \"2\" \"6\""));
}

TEST_F(MpdControlsTest, WithoutACurrentSongTheyGoToTheBeginning) {
  ScriptedMpd &server = Mpd(NextTo("playlistlength: 9\nstate: stop\n"));
  LoadIntoMpd(connection_, {"/music/1"}, Place::kNext);
  EXPECT_THAT(server.Commands(), ElementsAre("status", "addid \"1\" \"0\""));
}

TEST_F(MpdControlsTest, InRandomOrderTheyGoBeforeAllOthers) {
  ScriptedMpd &server = Mpd(NextTo("playlistlength: 9\nstate: play\nsong: 4\nrandom: 1\n"));
  LoadIntoMpd(connection_, {"/music/1", "/music/2"}, Place::kNext);
  EXPECT_THAT(server.Commands(),
              ElementsAre("status", "addid \"1\" \"5\"|addid \"2\" \"6\"", "prio \"255\" \"5:7\""));
}

TEST_F(MpdControlsTest, ManyThatMpdRefusesAreNotSentAgainAndAgain) {
  ScriptedMpd &server = MpdThatSays("ACK [50@0] {add} No such file\n");
  const LoadResult result =
      LoadIntoMpd(connection_, std::vector<std::string>(1000, "/music/bad"), Place::kAppend);
  EXPECT_EQ(result.refused, 1000U);
  std::size_t bytes = 0;
  for (const std::string &command : server.Commands()) {
    bytes += command.size();
  }
  EXPECT_LE(bytes, 2 * 1000 * std::string_view("add \"bad\"|").size());
}

TEST_F(MpdControlsTest, ANameThatNoCommandCanHoldIsPassedOver) {
  ScriptedMpd &server = MpdThatSays("OK\n");
  const LoadResult result = LoadIntoMpd(connection_,
                                        {"/music/1", "http://x/" + std::string(3900, '"'),
                                         std::string(5000, 'x'), std::string("\0/music", 7),
                                         "http://x/" + std::string(3900, 'x'), "/music/\"2\\\""},
                                        Place::kAppend);
  EXPECT_EQ(result.added, 3U);
  EXPECT_EQ(result.refused, 3U);
  EXPECT_THAT(server.Commands(), ElementsAre("add \"1\"|add \"http://x/" + std::string(3900, 'x') +
                                             "\"|add \"\\\"2\\\\\\\"\""));
}

TEST_F(MpdControlsTest, AFullQueueEndsTheLoad) {
  ScriptedMpd &server = MpdThatSays("ACK [51@1] {add} playlist is max size\n");
  const LoadResult result =
      LoadIntoMpd(connection_, std::vector<std::string>(900, "/music/a"), Place::kAppend);
  EXPECT_EQ(result.added, 1U);
  EXPECT_EQ(result.refused, 899U);
  EXPECT_THAT(server.Commands(), SizeIs(1));
}

TEST_F(MpdControlsTest, ManySongsGoInSeveralLists) {
  ScriptedMpd &server = MpdThatSays("OK\n");
  EXPECT_EQ(
      LoadIntoMpd(connection_, std::vector<std::string>(900, "/music/a"), Place::kAppend).added,
      900U);
  EXPECT_THAT(server.Commands(), SizeIs(3));
}

} // namespace
} // namespace vexo::audiod
