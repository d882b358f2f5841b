// The table of commands: the code and the text of each, and what each does with the reply.
#include "player/ctrl.h"
#include "player/info.h"
#include "player_test.h"
#include <functional>

namespace {

using ::testing::Each;
using ::testing::IsEmpty;

constexpr float kTenValues[10] = {0, 1, -1.25F, 2.55F, 10, 12.34F, -0.04F, 100, 0.95F, 3};

struct CommandRow {
  const char *sent; ///< "CODE ARGUMENT"
  std::function<int()> call;
};

char reply[64];

const CommandRow kCommands[] = {
    {"21 3", [] { return PlayerTargetSelect(3); }},
    {"21 -1", [] { return PlayerTargetSelect(-1); }},
    {"30 10 2", [] { return PlayerQueueGet(10, 2, reply, sizeof reply); }},
    {"41 a b", [] { return PlayerInfo41("a b"); }},
    {"40 %s", [] { return PlayerInfo40("%s"); }},
    {"42 x", [] { return PlayerInfo42("x", reply, sizeof reply); }},
    {"42 x", [] { return PlayerInfo42("x", reply, 1); }},
    {"22 ", [] { return PlayerInfo22(reply, sizeof reply); }},
    {"20 1 -2", [] { return PlayerInfo20(1, -2, reply, sizeof reply); }},
    {"19 0 2147483647", [] { return PlayerInfo19(0, 2147483647, reply, sizeof reply); }},
    {"18 ", PlayerInfo18},
    {"17 ", PlayerInfo17},
    {"1 ", PlayerControl1},
    {"2 ", PlayerControl2},
    {"3 ", PlayerControl3},
    {"4 ", PlayerControl4},
    {"5 ", PlayerControl5},
    {"6 ", PlayerControl6},
    {"7 ", PlayerControl7},
    {"10 ", PlayerControl10},
    {"12 ", PlayerControl12},
    {"13 ", PlayerControl13},
    {"16 ", PlayerControl16},
    {"31 ", PlayerControl31},
    {"32 ", PlayerControl32},
    {"34 ", PlayerControl34},
    {"36 ", PlayerControl36},
    {"37 ", PlayerControl37},
    {"8 1", [] { return PlayerControl8(1); }},
    {"9 -2", [] { return PlayerControl9(-2); }},
    {"11 30", [] { return PlayerControl11(30); }},
    {"35 0", [] { return PlayerControl35(0); }},
    {"39 7", [] { return PlayerControl39(7); }},
    {"38 0.0 1.0 -1.2 2.5 10.0 12.3 -0.0 100.0 0.9 3.0",
     [] { return PlayerControl38(kTenValues); }},
};

class PlayerCommandsTest : public PlayerTest {};

TEST_F(PlayerCommandsTest, EachSendsItsCodeAndText) {
  ScriptedDaemon &scripted = DaemonThatSays("{}");
  std::vector<std::string> expected;
  for (const CommandRow &row : kCommands) {
    EXPECT_EQ(row.call(), 0) << row.sent;
    expected.emplace_back(row.sent);
  }
  EXPECT_EQ(scripted.Commands(), expected);
  EXPECT_THAT(host().log, IsEmpty());
}

TEST_F(PlayerCommandsTest, EachFailsWhenTheDaemonDoesNotRun) {
  for (const CommandRow &row : kCommands) {
    EXPECT_LT(row.call(), 0) << row.sent;
  }
}

TEST_F(PlayerCommandsTest, AReplyOfTheCallersIsFilled) {
  DaemonThatSays("{\"total\":12}");
  const CommandRow rows[] = {
      {"30", [] { return PlayerQueueGet(0, 5, reply, sizeof reply); }},
      {"42", [] { return PlayerInfo42("x", reply, sizeof reply); }},
      {"22", [] { return PlayerInfo22(reply, sizeof reply); }},
      {"20", [] { return PlayerInfo20(0, 5, reply, sizeof reply); }},
      {"19", [] { return PlayerInfo19(0, 5, reply, sizeof reply); }},
  };
  for (const CommandRow &row : rows) {
    memset(reply, 0, sizeof reply);
    EXPECT_EQ(row.call(), 0) << row.sent;
    EXPECT_STREQ(reply, "{\"total\":12}") << row.sent;
  }
}

TEST_F(PlayerCommandsTest, ALongReplyToACommandThatNeedsNoneIsThrownAway) {
  DaemonThatSays(std::string(20000, 'r'));
  EXPECT_EQ(PlayerTargetSelect(0), 0);
  EXPECT_EQ(PlayerControl1(), 0);
}

TEST_F(PlayerCommandsTest, BadParametersAreLoggedAndNothingIsSent) {
  ScriptedDaemon &scripted = DaemonThatSays("{}");
  const CommandRow rows[] = {
      {"30, no buffer", [] { return PlayerQueueGet(0, 5, nullptr, 64); }},
      {"30, no room", [] { return PlayerQueueGet(0, 5, reply, 0); }},
      {"30, negative room", [] { return PlayerQueueGet(0, 5, reply, -1); }},
      {"41, no text", [] { return PlayerInfo41(nullptr); }},
      {"40, no text", [] { return PlayerInfo40(nullptr); }},
      {"42, no text", [] { return PlayerInfo42(nullptr, reply, 64); }},
      {"42, no buffer", [] { return PlayerInfo42("x", nullptr, 64); }},
      {"42, no room", [] { return PlayerInfo42("x", reply, 0); }},
      {"22, no buffer", [] { return PlayerInfo22(nullptr, 64); }},
      {"22, no room", [] { return PlayerInfo22(reply, 0); }},
      {"20, no buffer", [] { return PlayerInfo20(0, 1, nullptr, 64); }},
      {"20, no room", [] { return PlayerInfo20(0, 1, reply, 0); }},
      {"19, no buffer", [] { return PlayerInfo19(0, 1, nullptr, 64); }},
      {"19, no room", [] { return PlayerInfo19(0, 1, reply, 0); }},
  };
  for (const CommandRow &row : rows) {
    EXPECT_EQ(row.call(), -1) << row.sent;
  }
  EXPECT_EQ(host().log.size(), std::size(rows));
  EXPECT_THAT(host().Messages(), Each(std::string("Bad parameters")));
  EXPECT_THAT(host().log, Each(::testing::Field(&recording::LogLine::module, "info.c")));
  EXPECT_THAT(scripted.Commands(), IsEmpty());
}

} // namespace
