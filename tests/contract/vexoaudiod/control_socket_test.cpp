// The socket that the daemon listens on: whose it is, and who may have it.
#include "support/temporary_folder.h"
#include "vexoaudiod/control_socket.h"
#include <fcntl.h>
#include <grp.h>
#include <gtest/gtest.h>
#include <optional>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <thread>
#include <vector>

namespace vexo::audiod {
namespace {

class ControlSocketTest : public ::testing::Test {
protected:
  [[nodiscard]] std::string path() const { return folder_ / "socket"; }

  /// Connects; 0 or the error.
  [[nodiscard]] int Connect() const {
    const files::FileDescriptor client(socket(AF_UNIX, SOCK_STREAM, 0));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path().copy(address.sun_path, sizeof address.sun_path - 1);
    return connect(client.get(), reinterpret_cast<sockaddr *>(&address), sizeof address) == 0
               ? 0
               : errno;
  }
  /// What stands there after a daemon that died.
  void LeaveStaleSocket() const {
    const files::FileDescriptor dead(socket(AF_UNIX, SOCK_STREAM, 0));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path().copy(address.sun_path, sizeof address.sun_path - 1);
    ASSERT_EQ(bind(dead.get(), reinterpret_cast<sockaddr *>(&address), sizeof address), 0);
    ASSERT_EQ(listen(dead.get(), 1), 0);
  }
  [[nodiscard]] struct stat Status() const {
    struct stat status {};
    lstat(path().c_str(), &status);
    return status;
  }

  TemporaryFolder folder_;
};

TEST_F(ControlSocketTest, IsForItsUserAndGroupOnly) {
  const mode_t before = umask(0);
  const ControlSocket socket(path(), "");
  EXPECT_EQ(Status().st_mode & 07777U, 0660U);
  EXPECT_EQ(umask(before), 0U) << "the mask is as it was";
  EXPECT_EQ(Connect(), 0);
}

TEST_F(ControlSocketTest, IsGivenToTheGroup) {
  const gid_t own = getgid();
  const ControlSocket socket(path(), getgrgid(own)->gr_name);
  EXPECT_EQ(Status().st_gid, own);
}

TEST_F(ControlSocketTest, AGroupThatDoesNotExistIsAnErrorAndLeavesNoSocket) {
  EXPECT_THROW(ControlSocket(path(), "no-such-group-here"), std::runtime_error);
  EXPECT_EQ(Connect(), ENOENT);
}

TEST_F(ControlSocketTest, IsRemovedAtTheEnd) {
  { const ControlSocket socket(path(), ""); }
  EXPECT_EQ(Connect(), ENOENT);
}

TEST_F(ControlSocketTest, LeavesASocketThatIsNotItsOwn) {
  {
    std::optional<ControlSocket> socket(std::in_place, path(), "");
    std::filesystem::remove(path());
    LeaveStaleSocket();
    socket.reset();
  }
  EXPECT_EQ(Connect(), ECONNREFUSED) << "it is still there";
}

TEST_F(ControlSocketTest, TakesThePlaceOfADaemonThatDied) {
  LeaveStaleSocket();
  ASSERT_EQ(Connect(), ECONNREFUSED);
  const ControlSocket socket(path(), "");
  EXPECT_EQ(Connect(), 0);
}

TEST_F(ControlSocketTest, RefusesToTakeThePlaceOfADaemonThatLives) {
  const ControlSocket living(path(), "");
  EXPECT_THROW(ControlSocket(path(), ""), std::runtime_error);
  EXPECT_EQ(Connect(), 0);
}

TEST_F(ControlSocketTest, RefusesToTakeThePlaceOfADaemonThatIsTooBusyToAnswer) {
  const ControlSocket living(path(), "");
  ASSERT_EQ(listen(living.descriptor(), 0), 0);
  files::FileDescriptor waiting(socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0));
  std::vector<files::FileDescriptor> clients;
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  path().copy(address.sun_path, sizeof address.sun_path - 1);
  while (connect(waiting.get(), reinterpret_cast<sockaddr *>(&address), sizeof address) == 0) {
    clients.push_back(std::move(waiting));
    waiting = files::FileDescriptor(socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0));
  }
  EXPECT_THROW(ControlSocket(path(), ""), std::runtime_error);
}

TEST_F(ControlSocketTest, RefusesToRemoveWhatIsNoSocket) {
  WriteBytes(path(), "somebody's file");
  EXPECT_THROW(ControlSocket(path(), ""), std::runtime_error);
  EXPECT_EQ(ReadBytes(path()), "somebody's file");
}

TEST_F(ControlSocketTest, APathThatDoesNotFitAnAddressIsAnError) {
  EXPECT_THROW(ControlSocket(folder_ / std::string(200, 'a'), ""), std::system_error);
}

TEST_F(ControlSocketTest, AFolderThatIsNotThereIsAnError) {
  EXPECT_THROW(ControlSocket(folder_ / "none/socket", ""), std::system_error);
}

TEST_F(ControlSocketTest, OfManyThatStartAtOnceOneListens) {
  for (int round = 0; round < 10; ++round) {
    LeaveStaleSocket();
    std::atomic<int> living = 0;
    std::vector<std::unique_ptr<ControlSocket>> sockets(8);
    std::vector<std::thread> threads;
    for (auto &socket : sockets) {
      threads.emplace_back([this, &socket, &living] {
        try {
          socket = std::make_unique<ControlSocket>(path(), "");
          ++living;
        } catch (const std::runtime_error &) {
          return; // another one was first
        }
      });
    }
    for (std::thread &thread : threads) {
      thread.join();
    }
    EXPECT_EQ(living, 1);
    EXPECT_EQ(Connect(), 0);
  }
}

} // namespace
} // namespace vexo::audiod
