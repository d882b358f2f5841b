#include "model/folder_lock.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <fcntl.h>
#include <sys/file.h>
#include <thread>
#include <unistd.h>

namespace {

using std::chrono::milliseconds;

/// A holder that was stopped, or that locks the folder out of malice, may never release it.
constexpr milliseconds kLongestWait{10'000};
/// Who waits longer than others between two tries is left behind where many edit one list.
constexpr milliseconds kLongestPause{2};

/// Waits for the lock with exponential back-off, as flock() knows no time-out. False: still busy.
bool LockInTime(int descriptor) {
  milliseconds waited{0};
  for (milliseconds pause{1}; flock(descriptor, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK;
       pause = std::min(pause * 2, kLongestPause)) {
    if (waited >= kLongestWait) {
      return false;
    }
    std::this_thread::sleep_for(pause);
    waited += pause;
  }
  return true;
}

} // namespace

FolderLock::FolderLock(const std::string &folder)
    : descriptor_(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
  is_busy_ = descriptor_ >= 0 && !LockInTime(descriptor_);
}

FolderLock::~FolderLock() {
  if (descriptor_ >= 0) {
    close(descriptor_);
  }
}
