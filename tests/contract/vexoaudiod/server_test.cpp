// The daemon as its clients meet it, well-behaved ones and others.
#include "files/file_io.h"
#include "scripted_mpd.h"
#include "support/processes.h"
#include "support/temporary_folder.h"
#include "system/player_commands.h"
#include "vexoaudiod/control_socket.h"
#include "vexoaudiod/reply.h"
#include "vexoaudiod/server.h"
#include <atomic>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <json/json.h>
#include <memory>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <thread>

namespace vexo::audiod {
namespace {

constexpr int32_t kSelect = 21;
constexpr int32_t kQueue = 30;

std::string Record(int32_t code, const std::string &argument) {
  std::string record(system::kPlayerRecordSize, '\0');
  memcpy(record.data(), &code, sizeof code);
  argument.copy(record.data() + sizeof code, argument.size());
  return record;
}

class ServerTest : public ::testing::Test {
protected:
  static void SetUpTestSuite() { signal(SIGPIPE, SIG_IGN); }
  void TearDown() override { Stop(); }

  /// Starts the daemon with these players; player N's MPD is at mpd_path(N).
  void Start(const std::vector<int> &numbers) {
    std::map<int, PlayerSettings> players;
    for (const int number : numbers) {
      players[number] = {mpd_path(number), 0, "", "/music"};
    }
    ASSERT_EQ(pipe(stop_), 0);
    socket_ = std::make_unique<ControlSocket>(path(), "");
    server_ = std::make_unique<Server>(players);
    thread_ = std::thread([this] { server_->Run(socket_->descriptor(), stop_[0]); });
  }
  void Stop() {
    if (thread_.joinable()) {
      close(stop_[1]);
      thread_.join();
      server_.reset();
      socket_.reset();
      close(stop_[0]);
    }
  }
  void Mpd(int player, ScriptedMpd::Answer answer) {
    mpds_.push_back(std::make_unique<ScriptedMpd>(mpd_path(player), std::move(answer)));
  }

  [[nodiscard]] std::string path() const { return folder_ / "control"; }
  [[nodiscard]] std::string mpd_path(int player) const {
    return folder_ / ("mpd" + std::to_string(player));
  }

  [[nodiscard]] files::FileDescriptor Connect() const {
    files::FileDescriptor client(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path().copy(address.sun_path, sizeof address.sun_path - 1);
    EXPECT_EQ(connect(client.get(), reinterpret_cast<sockaddr *>(&address), sizeof address), 0);
    return client;
  }
  static void Send(const files::FileDescriptor &client, const std::string &bytes) {
    EXPECT_EQ(send(client.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL),
              static_cast<ssize_t>(bytes.size()));
  }
  /// What one read gives, as the real client reads; "" when the daemon has hung up.
  static std::string Read(const files::FileDescriptor &client) {
    std::string bytes(40960, '\0');
    const ssize_t count = read(client.get(), bytes.data(), bytes.size());
    bytes.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
    return bytes;
  }
  [[nodiscard]] std::string Ask(int32_t code, const std::string &argument) const {
    const files::FileDescriptor client = Connect();
    Send(client, Record(code, argument));
    return Read(client);
  }
  /// Sends the record together with a descriptor.
  [[nodiscard]] std::string AskWith(int32_t code, const std::string &argument,
                                    int descriptor) const {
    const files::FileDescriptor client = Connect();
    const std::string record = Record(code, argument);
    iovec piece{const_cast<char *>(record.data()), record.size()};
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int))] = {};
    msghdr message{};
    message.msg_iov = &piece;
    message.msg_iovlen = 1;
    message.msg_control = control;
    message.msg_controllen = sizeof control;
    cmsghdr *const header = CMSG_FIRSTHDR(&message);
    header->cmsg_level = SOL_SOCKET;
    header->cmsg_type = SCM_RIGHTS;
    header->cmsg_len = CMSG_LEN(sizeof(int));
    memcpy(CMSG_DATA(header), &descriptor, sizeof descriptor);
    EXPECT_EQ(sendmsg(client.get(), &message, MSG_NOSIGNAL), static_cast<ssize_t>(record.size()));
    return Read(client);
  }
  static files::FileDescriptor MemoryFile(const std::string &content, int seals) {
    files::FileDescriptor file(memfd_create("songs", MFD_CLOEXEC | MFD_ALLOW_SEALING));
    EXPECT_TRUE(files::WriteAll(file.get(), content));
    EXPECT_EQ(fcntl(file.get(), F_ADD_SEALS, seals), 0);
    return file;
  }
  [[nodiscard]] static Json::Value Parsed(const std::string &reply) {
    Json::Value root;
    Json::Reader reader;
    EXPECT_TRUE(reader.parse(reply, root, true)) << reply;
    return root;
  }
  /// The queue as a client of 5 entries a page gets it; empty when a page is not as it should be.
  [[nodiscard]] std::vector<std::string> Capture(int player) const {
    std::vector<std::string> paths;
    (void)Ask(kSelect, std::to_string(player));
    for (unsigned offset = 0, total = 1; offset < total; offset += 5) {
      const Json::Value page = Parsed(Ask(kQueue, std::to_string(offset) + " 5"));
      if (page["total"].asInt() < 0) {
        return {};
      }
      total = page["total"].asUInt();
      for (const Json::Value &entry : page["uris"]) {
        paths.push_back(entry["res"].asString());
      }
    }
    return paths;
  }
  static std::vector<std::string> FilePaths(const std::string &prefix, unsigned total) {
    std::vector<std::string> paths;
    for (unsigned number = 0; number < total; ++number) {
      paths.push_back("/music/" + prefix + "/" + std::to_string(number) + ".mp3");
    }
    return paths;
  }

  TemporaryFolder folder_;
  std::vector<std::unique_ptr<ScriptedMpd>> mpds_;

private:
  int stop_[2] = {-1, -1};
  std::unique_ptr<ControlSocket> socket_;
  std::unique_ptr<Server> server_;
  std::thread thread_;
};

TEST_F(ServerTest, GivesTheQueueOfTheSelectedPlayer) {
  Mpd(0, QueueOfFiles(12, "a"));
  Mpd(-1, QueueOfFiles(3, "usb"));
  Start({0, -1});
  EXPECT_EQ(Ask(kSelect, "0"), SelectedReply(0));
  EXPECT_EQ(Capture(0), FilePaths("a", 12));
  EXPECT_EQ(Capture(-1), FilePaths("usb", 3));
}

TEST_F(ServerTest, TellsAPlayerWhatItIsToDo) {
  Mpd(0, [](const std::string &command) {
    const std::string before = command.starts_with("status") ? "" : "list_OK\n";
    return before + "playlistlength: 1\nstate: pause\nsong: 0\nelapsed: 1.5\ntime: 1:9\nlist_OK\n"
                    "file: a.mp3\nTitle: T\nlist_OK\nOK\n";
  });
  Start({0});
  for (const int32_t code : {1001, 1005}) {
    const Json::Value status = Parsed(Ask(code, "0"));
    EXPECT_EQ(status["state"], "pause");
    EXPECT_EQ(status["song"]["res"], "/music/a.mp3");
    EXPECT_EQ(status["elapsed"], 1.5);
    EXPECT_EQ(status["duration"], 9.0);
    EXPECT_FALSE(status.isMember("volume"));
  }
  EXPECT_EQ(Ask(1001, "1"), ErrorReply("there is no player 1"));
  EXPECT_EQ(Ask(1002, "1 0 5"), QueueErrorReply("there is no player 1"));
}

TEST_F(ServerTest, GivesTheQueueOfANamedPlayerWithoutASelection) {
  Mpd(0, QueueOfFiles(12, "a"));
  Start({0});
  EXPECT_EQ(Parsed(Ask(1002, "0 10 5"))["uris"].size(), 2U);
}

TEST_F(ServerTest, WhatAPlayerRefusesIsNoFailureOfIts) {
  Mpd(0, [](const std::string &) { return "ACK [55@0] {seekcur} Not playing\n"; });
  Start({0});
  EXPECT_EQ(Ask(1009, "0 1000"), RefusedReply("Not playing"));
}

TEST_F(ServerTest, TakesSongsInAMemoryFile) {
  constexpr int kSealed = F_SEAL_WRITE | F_SEAL_SHRINK | F_SEAL_GROW;
  Mpd(0, [](const std::string &) { return "OK\n"; });
  Start({0});
  EXPECT_EQ(AskWith(1011, "0 0", MemoryFile("/music/a\n\n/music/b", kSealed).get()),
            "{\"added\":2,\"refused\":0}");
  const std::string refused = ErrorReply("no sealed memory file came with the songs");
  EXPECT_EQ(AskWith(1011, "0 0", MemoryFile("/music/a\n", F_SEAL_GROW).get()), refused);
  EXPECT_EQ(Ask(1012, "0"), refused);
}

TEST_F(ServerTest, DescriptorsThatNobodyAskedForAreClosed) {
  Mpd(0, QueueOfFiles(1));
  Start({0});
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  EXPECT_EQ(AskWith(1001, "7", ends[1]), ErrorReply("there is no player 7"));
  close(ends[1]);
  // The end of the pipe can be read once nobody holds the end that was sent along.
  pollfd waits{ends[0], POLLIN, 0};
  EXPECT_EQ(poll(&waits, 1, 5000), 1);
  EXPECT_EQ(waits.revents, POLLHUP);
  close(ends[0]);
}

TEST_F(ServerTest, WithoutASelectionThereIsNoQueue) {
  Mpd(0, QueueOfFiles(12));
  Start({0});
  EXPECT_EQ(Ask(kQueue, "0 5"), QueueErrorReply("no player is selected"));
}

TEST_F(ServerTest, APlayerThatIsNotConfiguredIsRefusedAndTheOneBeforeForgotten) {
  Mpd(0, QueueOfFiles(12));
  Start({0});
  EXPECT_EQ(Ask(kSelect, "0"), SelectedReply(0));
  EXPECT_EQ(Ask(kSelect, "-1"), ErrorReply("there is no player usb"));
  EXPECT_EQ(Ask(kQueue, "0 5"), QueueErrorReply("no player is selected"));
}

TEST_F(ServerTest, AnyOtherCommandIsAnError) {
  Start({});
  for (int code = -2; code < 60; ++code) {
    if (code != kSelect && code != kQueue) {
      EXPECT_EQ(Ask(code, "1"),
                ErrorReply("command " + std::to_string(code) + " is not supported"));
    }
  }
}

TEST_F(ServerTest, GarbageIsAnError) {
  Start({});
  const files::FileDescriptor client = Connect();
  Send(client, std::string(system::kPlayerRecordSize, '\xff'));
  EXPECT_EQ(Read(client), ErrorReply("command -1 is not supported"));
}

TEST_F(ServerTest, AShortRecordIsAnError) {
  Start({});
  for (const std::size_t length : {std::size_t{0}, std::size_t{3}, system::kPlayerRecordSize - 1}) {
    const files::FileDescriptor client = Connect();
    Send(client, Record(kSelect, "0").substr(0, length));
    shutdown(client.get(), SHUT_WR);
    EXPECT_EQ(Read(client), ErrorReply("the record is too short")) << length;
  }
}

TEST_F(ServerTest, ARecordInPiecesIsPutTogether) {
  Mpd(0, QueueOfFiles(1));
  Start({0});
  const std::string record = Record(kSelect, "0");
  const files::FileDescriptor client = Connect();
  for (std::size_t done = 0; done < record.size(); done += 1000) {
    Send(client, record.substr(done, 1000));
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
  EXPECT_EQ(Read(client), SelectedReply(0));
}

TEST_F(ServerTest, WhatFollowsARecordIsNotRead) {
  Mpd(0, QueueOfFiles(1));
  Start({0});
  const files::FileDescriptor client = Connect();
  Send(client, Record(kSelect, "0") + Record(kSelect, "1") + "more");
  EXPECT_EQ(Read(client), SelectedReply(0));
}

TEST_F(ServerTest, AClientMayCloseItsSendingSideWhileItWaits) {
  Mpd(0, QueueOfFiles(1));
  Start({0});
  (void)Ask(kSelect, "0");
  const files::FileDescriptor client = Connect();
  Send(client, Record(kQueue, "0 5"));
  shutdown(client.get(), SHUT_WR);
  EXPECT_EQ(Parsed(Read(client))["total"].asInt(), 1);
}

TEST_F(ServerTest, SilentClientsKeepNobodyWaiting) {
  Mpd(0, QueueOfFiles(12));
  Start({0});
  std::vector<files::FileDescriptor> silent;
  for (std::size_t count = 0; count < Server::kMostClients + 100; ++count) {
    silent.push_back(Connect());
  }
  EXPECT_EQ(Capture(0), FilePaths("a", 12));
}

TEST_F(ServerTest, ClientsThatComeAndGoDoNoHarm) {
  Mpd(0, QueueOfFiles(12));
  Start({0});
  (void)Ask(kSelect, "0");
  for (int count = 0; count < 200; ++count) {
    const files::FileDescriptor client = Connect();
    if (count % 3 > 0) {
      Send(client,
           Record(kQueue, "0 5").substr(0, count % 3 == 1 ? 100 : system::kPlayerRecordSize));
    }
  }
  EXPECT_EQ(Capture(0), FilePaths("a", 12));
}

TEST_F(ServerTest, TheLongestPageComesInOnePiece) {
  const std::string name(4000, 'n');
  Mpd(0, [&name](const std::string &) {
    std::string answer = "playlistlength: 5\nlist_OK\n";
    for (int count = 0; count < 5; ++count) {
      answer += "file: " + name + "\nTitle: " + std::string(1000, 't') + "\nPos: 0\nId: 1\n";
    }
    return answer + "list_OK\nOK\n";
  });
  Start({0});
  EXPECT_EQ(Capture(0), std::vector<std::string>(5, "/music/" + name));
}

TEST_F(ServerTest, AnMpdThatIsNotThereIsAnErrorAndNoEmptyQueue) {
  Start({0});
  (void)Ask(kSelect, "0");
  const Json::Value page = Parsed(Ask(kQueue, "0 5"));
  EXPECT_EQ(page["total"].asInt(), -1);
  EXPECT_TRUE(page["error"].isString());
  Mpd(0, QueueOfFiles(7));
  EXPECT_EQ(Capture(0), FilePaths("a", 7)) << "once it is there";
}

TEST_F(ServerTest, AnMpdThatRestartsBetweenTwoPagesIsAskedAgain) {
  Mpd(0, QueueOfFiles(7));
  Start({0});
  (void)Ask(kSelect, "0");
  EXPECT_EQ(Parsed(Ask(kQueue, "0 5"))["uris"].size(), 5U);
  mpds_.clear();
  Mpd(0, QueueOfFiles(7));
  EXPECT_EQ(Parsed(Ask(kQueue, "5 5"))["uris"].size(), 2U);
}

TEST_F(ServerTest, AnMpdThatHangsKeepsOnlyThoseWhoAskForIt) {
  std::atomic<bool> hangs = false;
  Mpd(0, [&hangs](const std::string &) {
    hangs = true;
    return ScriptedMpd::kHang;
  });
  Mpd(1, QueueOfFiles(12, "b"));
  Start({0, 1});
  (void)Ask(kSelect, "0");
  const files::FileDescriptor waits = Connect();
  Send(waits, Record(kQueue, "0 5"));
  while (!hangs) {
    std::this_thread::yield();
  }
  EXPECT_EQ(Capture(1), FilePaths("b", 12));
  EXPECT_EQ(Parsed(Read(waits))["total"].asInt(), -1) << "it is told in the end";
}

TEST_F(ServerTest, ClientsBeyondWhatAPlayerCanQueueAreToldSo) {
  Mpd(0, [](const std::string &) { return ScriptedMpd::kHang; });
  Start({0});
  (void)Ask(kSelect, "0");
  std::vector<files::FileDescriptor> waiting;
  for (std::size_t count = 0; count < Player::kMostWaiting + 1; ++count) {
    waiting.push_back(Connect());
    Send(waiting.back(), Record(kQueue, "0 5"));
  }
  // All but at most one of them are queued; the next ones are too many.
  (void)Ask(kQueue, "no page: an answer shows that those before have been read");
  EXPECT_EQ(Ask(kQueue, "0 5"), QueueErrorReply("too many ask for this player"));
}

TEST_F(ServerTest, EndsWhileAnMpdHangs) {
  std::atomic<bool> hangs = false;
  Mpd(0, [&hangs](const std::string &) {
    hangs = true;
    return ScriptedMpd::kHang;
  });
  Start({0});
  (void)Ask(kSelect, "0");
  const files::FileDescriptor waits = Connect();
  Send(waits, Record(kQueue, "0 5"));
  while (!hangs) {
    std::this_thread::yield();
  }
  Stop();
  EXPECT_EQ(Read(waits), "");
}

TEST_F(ServerTest, EachProcessHasItsOwnSelection) {
  WaitingProcesses other(1, [this](int) {
    const bool is_unselected = Ask(kQueue, "0 5") == QueueErrorReply("no player is selected");
    return is_unselected && Capture(1) == FilePaths("b", 6) ? 0 : 1;
  });
  Mpd(0, QueueOfFiles(6, "a"));
  Mpd(1, QueueOfFiles(6, "b"));
  Start({0, 1});
  (void)Ask(kSelect, "0");
  EXPECT_EQ(other.Run(), 1);
  EXPECT_EQ(Parsed(Ask(kQueue, "0 5"))["uris"][0]["res"].asString(), "/music/a/0.mp3");
}

TEST_F(ServerTest, ProcessesThatCaptureAtOnceGetTheQueueTheyChose) {
  WaitingProcesses clients(8, [this](int number) {
    bool is_right = true;
    for (int round = 0; round < 25; ++round) {
      const bool is_first = (number + round) % 2 == 0;
      is_right = is_right &&
                 Capture(is_first ? 0 : 1) == (is_first ? FilePaths("a", 23) : FilePaths("b", 17));
    }
    return is_right ? 0 : 1;
  });
  Mpd(0, QueueOfFiles(23, "a"));
  Mpd(1, QueueOfFiles(17, "b"));
  Start({0, 1});
  EXPECT_EQ(clients.Run(), 8);
}

} // namespace
} // namespace vexo::audiod
