#include "vexoaudiod/control_socket.h"
#include "system/paths.h"
#include <cerrno>
#include <chrono>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <grp.h>
#include <stdexcept>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <system_error>
#include <thread>
#include <unistd.h>
#include <utility>

namespace vexo::audiod {

namespace {

constexpr int kBacklog = 128;
constexpr int kLockTries = 500;
constexpr std::chrono::milliseconds kLockPause{10};

[[noreturn]] void Fail(const std::string &path, int error) {
  throw std::system_error(error, std::generic_category(), path);
}

sockaddr_un Address(const std::string &path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path.size() >= sizeof address.sun_path) {
    Fail(path, ENAMETOOLONG);
  }
  path.copy(address.sun_path, path.size());
  return address;
}

files::FileDescriptor NewSocket(const std::string &path) {
  files::FileDescriptor made(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  if (!made) {
    Fail(path, errno);
  }
  return made;
}

/// Whether somebody listens on the socket, however busy.
bool IsAlive(const std::string &path) {
  const files::FileDescriptor probe = NewSocket(path);
  const sockaddr_un address = Address(path);
  return connect(probe.get(), reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0 ||
         errno == EAGAIN;
}

/// Two daemons that start at once must not both find a stale socket and remove each other's: the
/// folder is locked from the look to the bind.
files::FileDescriptor LockFolder(const std::string &path) {
  const std::string folder = std::filesystem::path(path).parent_path().string();
  files::FileDescriptor descriptor(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!descriptor) {
    Fail(folder, errno);
  }
  for (int tries = 0; flock(descriptor.get(), LOCK_EX | LOCK_NB) != 0; ++tries) {
    if (tries == kLockTries) {
      Fail(folder, errno);
    }
    std::this_thread::sleep_for(kLockPause);
  }
  return descriptor;
}

void GiveToGroup(const std::string &path, const std::string &name) {
  const group *found = getgrnam(name.c_str());
  if (found == nullptr) {
    throw std::runtime_error("there is no group " + name);
  }
  if (lchown(path.c_str(), static_cast<uid_t>(-1), found->gr_gid) != 0) {
    Fail(path, errno);
  }
}

} // namespace

ControlSocket::ControlSocket(std::string path, const std::string &group)
    : path_(std::move(path)), listener_(NewSocket(path_)) {
  const files::FileDescriptor lock = LockFolder(path_);
  RemoveStale();
  Bind();
  try {
    if (!group.empty()) {
      GiveToGroup(path_, group);
    }
    if (listen(listener_.get(), kBacklog) != 0) {
      Fail(path_, errno);
    }
  } catch (...) {
    unlink(path_.c_str());
    throw;
  }
}

ControlSocket::~ControlSocket() {
  struct stat found {};
  if (lstat(path_.c_str(), &found) == 0 && found.st_dev == device_ && found.st_ino == inode_) {
    unlink(path_.c_str());
  }
}

void ControlSocket::RemoveStale() const {
  struct stat found {};
  if (lstat(path_.c_str(), &found) != 0) {
    return;
  }
  if (!S_ISSOCK(found.st_mode)) {
    throw std::runtime_error(path_ + " is no socket");
  }
  if (IsAlive(path_)) {
    throw std::runtime_error(path_ + " belongs to a daemon that runs");
  }
  if (unlink(path_.c_str()) != 0 && errno != ENOENT) {
    Fail(path_, errno);
  }
}

/// bind() creates the socket with its final mode (by umask), so it is never reachable with a wider
/// one.
void ControlSocket::Bind() {
  const sockaddr_un address = Address(path_);
  const mode_t before = umask(0117);
  const int bound =
      bind(listener_.get(), reinterpret_cast<const sockaddr *>(&address), sizeof address);
  const int error = errno;
  umask(before);
  if (bound != 0) {
    Fail(path_, error);
  }
  struct stat made {};
  if (lstat(path_.c_str(), &made) == 0) {
    device_ = made.st_dev;
    inode_ = made.st_ino;
  }
}

} // namespace vexo::audiod
