// What goes over the socket, byte by byte, and what each way to fail looks like.
#include "player/ctrl.h"
#include "player_test.h"
#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <sys/resource.h>
#include <syslog.h>

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::StartsWith;
using Command = ScriptedDaemon::Command;
using system_calls::control;

class PlayerCommandSendTest : public PlayerTest {
protected:
  int Send(const PlayerCommand &command = PlayerCommandPrint(30, "0 5")) {
    reply_.assign(reply_.size(), 'x');
    return PlayerCommandSend(&command, reply_.data(), static_cast<int>(reply_.size()));
  }
  std::string Reply() { return reply_.substr(0, strnlen(reply_.c_str(), reply_.size())); }

  std::string reply_ = std::string(64, 'x');
};

TEST_F(PlayerCommandSendTest, TheRecordIsTheCodeInNativeOrderAndTheTextIn8196Bytes) {
  ScriptedDaemon &scripted = DaemonThatSays("{}");
  ASSERT_EQ(Send(PlayerCommandPrint(0x01020304, "%d %d", 5, -10)), 0);
  const std::string record = scripted.LastRecord();
  ASSERT_EQ(record.size(), 8196U);
  const int32_t code = 0x01020304;
  EXPECT_EQ(memcmp(record.data(), &code, sizeof code), 0);
  EXPECT_EQ(record.substr(4, 6), std::string("5 -10\0", 6));
}

TEST_F(PlayerCommandSendTest, AnArgumentOf8191BytesIsWhole) {
  ScriptedDaemon &scripted = DaemonThatSays("{}");
  ASSERT_EQ(Send(PlayerCommandPrint(41, "%s", std::string(8191, 'a').c_str())), 0);
  EXPECT_EQ(scripted.LastRecord().substr(4), std::string(8191, 'a') + '\0');
}

TEST_F(PlayerCommandSendTest, AnArgumentOf8192BytesIsCutByOne) {
  ScriptedDaemon &scripted = DaemonThatSays("{}");
  ASSERT_EQ(Send(PlayerCommandPrint(41, "%s", std::string(8192, 'a').c_str())), 0);
  EXPECT_EQ(scripted.LastRecord().substr(4), std::string(8191, 'a') + '\0');
}

TEST_F(PlayerCommandSendTest, TheReplyIsReadAndTheRestOfTheBufferZeroed) {
  DaemonThatSays("{\"total\":0}");
  ASSERT_EQ(Send(), 0);
  EXPECT_EQ(reply_, "{\"total\":0}" + std::string(reply_.size() - 11, '\0'));
  EXPECT_THAT(host().log, IsEmpty());
}

TEST_F(PlayerCommandSendTest, AReplyLongerThanTheBufferIsCutAndNotTerminated) {
  DaemonThatSays(std::string(100, 'r'));
  EXPECT_EQ(Send(), 0);
  EXPECT_EQ(reply_, std::string(64, 'r'));
}

TEST_F(PlayerCommandSendTest, AReplyInTwoPartsIsCutAfterTheFirst) {
  Daemon([](const Command &command) {
    command.Say("{\"total\":");
    command.WaitForHangUp();
    command.Say("1}");
  });
  EXPECT_EQ(Send(), 0);
  EXPECT_EQ(Reply(), "{\"total\":");
}

TEST_F(PlayerCommandSendTest, EachCommandIsAConnectionOfItsOwn) {
  ScriptedDaemon &scripted = DaemonThatSays("{}");
  EXPECT_EQ(Send(), 0);
  EXPECT_EQ(Send(), 0);
  EXPECT_THAT(scripted.Commands(), ElementsAre("30 0 5", "30 0 5"));
}

TEST_F(PlayerCommandSendTest, WithoutRoomForAReplyNothingIsSent) {
  ScriptedDaemon &scripted = DaemonThatSays("{}");
  const PlayerCommand command = PlayerCommandPrint(30, "0 5");
  char reply[8];
  EXPECT_EQ(PlayerCommandSend(&command, nullptr, 8), -1);
  EXPECT_EQ(PlayerCommandSend(&command, reply, 0), -1);
  EXPECT_EQ(PlayerCommandSend(&command, reply, -1), -1);
  EXPECT_THAT(host().Messages(), ElementsAre("Bad parameter", "Bad parameter", "Bad parameter"));
  EXPECT_THAT(scripted.Commands(), IsEmpty());
}

TEST_F(PlayerCommandSendTest, LogLinesNameTheModuleAndTheSourceLine) {
  EXPECT_EQ(PlayerCommandSend(nullptr, nullptr, 0), -1);
  ASSERT_EQ(host().log.size(), 1U);
  EXPECT_EQ(host().log[0].priority, LOG_ERR);
  EXPECT_EQ(host().log[0].module, "ctrl.c");
  EXPECT_GT(host().log[0].line, 0);
}

TEST_F(PlayerCommandSendTest, NoSocketFailsSilently) {
  control().socket_fails = true;
  EXPECT_EQ(Send(), -1);
  EXPECT_THAT(host().log, IsEmpty());
}

TEST_F(PlayerCommandSendTest, ADaemonThatDoesNotRunIsLoggedWithItsSocketAndTheCause) {
  EXPECT_EQ(Send(), -1);
  EXPECT_THAT(host().Messages(), ElementsAre("Failed to connect to " + socket_path() +
                                             ". [No such file or directory]"));
}

TEST_F(PlayerCommandSendTest, ARefusedConnectionIsLoggedWithItsSocketAndTheCause) {
  DaemonThatSays("{}");
  StopDaemon();
  ASSERT_TRUE(std::filesystem::is_socket(socket_path())) << "left behind by a daemon that died";
  EXPECT_EQ(Send(), -1);
  EXPECT_THAT(host().Messages(),
              ElementsAre("Failed to connect to " + socket_path() + ". [Connection refused]"));
}

TEST_F(PlayerCommandSendTest, BothWaitsAreTenSecondsEach) {
  DaemonThatSays("{}");
  ASSERT_EQ(Send(), 0);
  ASSERT_EQ(control().timeouts.size(), 2U);
  for (const timeval &timeout : control().timeouts) {
    EXPECT_EQ(timeout.tv_sec, 10);
    EXPECT_EQ(timeout.tv_usec, 0);
  }
}

TEST_F(PlayerCommandSendTest, ADaemonThatNeverAnswersFailsWithoutALogLine) {
  Daemon([](const Command &command) { command.WaitForHangUp(); });
  EXPECT_EQ(Send(), -1);
  EXPECT_THAT(host().log, IsEmpty());
  EXPECT_EQ(reply_, std::string(64, 'x')) << "the buffer is touched only when there is a reply";
}

TEST_F(PlayerCommandSendTest, ADaemonThatNeverAnswersIsGivenTenSeconds) {
  control().timeout_milliseconds = 0;
  Daemon([](const Command &command) { command.WaitForHangUp(); });
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(Send(), -1);
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
}

TEST_F(PlayerCommandSendTest, ASocketThatIsReadyButNotNamedIsUnwritable) {
  DaemonThatSays("{}");
  control().select_names_nothing = true;
  EXPECT_EQ(Send(), -1);
  EXPECT_THAT(host().Messages(), ElementsAre("socket is unwritable"));
}

TEST_F(PlayerCommandSendTest, APartOfTheRecordIsAFailure) {
  Daemon([](const Command &) {});
  control().send_takes = 8195;
  EXPECT_EQ(Send(), -1);
  EXPECT_THAT(host().Messages(), ElementsAre("Failed to send command."));
}

TEST_F(PlayerCommandSendTest, ADaemonThatHangsUpBeforeTheRecordFailsAndEndsNoProcess) {
  signal(SIGPIPE, SIG_DFL);
  const int listener = socket(AF_UNIX, SOCK_STREAM, 0);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  socket_path().copy(address.sun_path, sizeof address.sun_path - 1);
  ASSERT_EQ(bind(listener, reinterpret_cast<sockaddr *>(&address), sizeof address), 0);
  ASSERT_EQ(listen(listener, 1), 0);
  control().before_select = [listener](bool writing) {
    if (writing) {
      close(accept(listener, nullptr, nullptr));
    }
  };
  EXPECT_EQ(Send(), -1);
  EXPECT_THAT(host().Messages(), ElementsAre("Failed to send command."));
  close(listener);
}

TEST_F(PlayerCommandSendTest, ADaemonThatHangsUpWithoutAReplyFailsTheRead) {
  Daemon([](const Command &) {});
  EXPECT_EQ(Send(), -1);
  EXPECT_THAT(host().Messages(), ElementsAre(StartsWith("Failed to read action [")));
}

int OpenDescriptors() {
  int count = 0;
  for (const auto &entry : std::filesystem::directory_iterator("/proc/self/fd")) {
    count += entry.is_symlink() ? 1 : 0;
  }
  return count;
}

TEST_F(PlayerCommandSendTest, TheSocketIsClosedOnEveryPath) {
  const auto says = [](const Command &command) { command.Say("{}"); };
  const auto hangs_up = [](const Command &) {};
  const auto is_silent = [](const Command &command) { command.WaitForHangUp(); };
  struct Row {
    const char *path;
    ScriptedDaemon::Answer answer;
    long send_takes;
    bool select_names_nothing;
  };
  const Row rows[] = {
      {"an answer", says, -1, false},           {"a time-out", is_silent, -1, false},
      {"no answer", hangs_up, -1, false},       {"not writable", hangs_up, -1, true},
      {"a part of the record", says, 7, false},
  };
  const int before = OpenDescriptors();
  for (const Row &row : rows) {
    Daemon(row.answer);
    control().send_takes = row.send_takes;
    control().select_names_nothing = row.select_names_nothing;
    Send();
    StopDaemon();
    EXPECT_EQ(OpenDescriptors(), before) << row.path;
  }
  Send();
  EXPECT_EQ(OpenDescriptors(), before) << "no daemon";
}

/// Standard input closed, as for a program that was started so: the next descriptor is 0.
class ClosedInput {
public:
  ClosedInput() : kept_(fcntl(0, F_DUPFD, 100)) { close(0); }
  ~ClosedInput() {
    close(0);
    if (kept_ >= 0) {
      dup2(kept_, 0);
      close(kept_);
    }
  }
  ClosedInput(const ClosedInput &) = delete;
  ClosedInput &operator=(const ClosedInput &) = delete;

private:
  int kept_;
};

TEST_F(PlayerCommandSendTest, ASocketThatIsDescriptor0StaysOpen) {
  DaemonThatSays("{}");
  const ClosedInput input;
  EXPECT_EQ(Send(), 0);
  int type = 0;
  socklen_t size = sizeof type;
  EXPECT_EQ(getsockopt(0, SOL_SOCKET, SO_TYPE, &type, &size), 0) << "descriptor 0 is the socket";
}

TEST_F(PlayerCommandSendTest, ARefusedSocketThatIsDescriptor0IsClosed) {
  const ClosedInput input;
  EXPECT_EQ(Send(), -1);
  EXPECT_EQ(fcntl(0, F_GETFD), -1);
}

/// Takes every descriptor below FD_SETSIZE and some more.
class ManyDescriptors {
public:
  ManyDescriptors() {
    getrlimit(RLIMIT_NOFILE, &before_);
    rlimit raised = before_;
    raised.rlim_cur = std::min<rlim_t>(raised.rlim_max, FD_SETSIZE + 200);
    setrlimit(RLIMIT_NOFILE, &raised);
    do {
      taken_.push_back(open("/dev/null", O_RDONLY | O_CLOEXEC));
    } while (taken_.back() >= 0 && taken_.back() < FD_SETSIZE + 100);
  }
  ~ManyDescriptors() {
    for (const int descriptor : taken_) {
      close(descriptor);
    }
    setrlimit(RLIMIT_NOFILE, &before_);
  }
  ManyDescriptors(const ManyDescriptors &) = delete;
  ManyDescriptors &operator=(const ManyDescriptors &) = delete;
  [[nodiscard]] int last() const { return taken_.back(); }

private:
  rlimit before_{};
  std::vector<int> taken_;
};

TEST_F(PlayerCommandSendTest, ASocketAboveTheSizeOfADescriptorSetIsServed) {
  DaemonThatSays("{}");
  const ManyDescriptors taken;
  ASSERT_GE(taken.last(), FD_SETSIZE);
  EXPECT_EQ(Send(), 0);
  EXPECT_EQ(Reply(), "{}");
}

} // namespace
