#include "model/folder_lock.h"

#include "support/temporary_folder.h"
#include <ctime>
#include <fcntl.h>
#include <functional>
#include <gtest/gtest.h>
#include <optional>
#include <sys/file.h>

namespace {

/// Takes the place of each pause, with its milliseconds.
std::function<void(long)> on_pause;

} // namespace

extern "C" {
int __wrap_nanosleep(const timespec *pause, timespec *left);
int __wrap_nanosleep(const timespec *pause, timespec * /*left*/) {
  on_pause(pause->tv_sec * 1000 + pause->tv_nsec / 1'000'000);
  return 0;
}
}

namespace {

/// Whether another open file could take the lock now.
bool IsFree(const std::string &folder) {
  const int descriptor = open(folder.c_str(), O_RDONLY | O_DIRECTORY);
  const bool taken = flock(descriptor, LOCK_EX | LOCK_NB) != 0;
  close(descriptor);
  return !taken;
}

TEST(FolderLock, IsHeldUntilItsEnd) {
  const TemporaryFolder folder;
  std::optional<FolderLock> lock(std::in_place, folder.path());
  EXPECT_FALSE(IsFree(folder.path()));
  lock.reset();
  EXPECT_TRUE(IsFree(folder.path()));
}

TEST(FolderLock, OfAFolderThatIsNotThereIsNoError) {
  const TemporaryFolder folder;
  const FolderLock lock(folder / "none");
  EXPECT_FALSE(lock.IsBusy());
  EXPECT_TRUE(IsFree(folder.path()));
}

TEST(FolderLock, OfAFileIsNoError) {
  const TemporaryFolder folder;
  WriteBytes(folder / "file", "");
  const FolderLock lock(folder / "file");
  EXPECT_EQ(ReadBytes(folder / "file"), "");
}

/// Somebody else who holds the lock of a folder.
class Holder {
public:
  explicit Holder(const std::string &folder)
      : descriptor_(open(folder.c_str(), O_RDONLY | O_DIRECTORY)) {
    EXPECT_EQ(flock(descriptor_, LOCK_EX), 0);
  }
  ~Holder() { close(descriptor_); }
  Holder(const Holder &) = delete;
  Holder &operator=(const Holder &) = delete;

private:
  int descriptor_;
};

TEST(FolderLock, WaitsForAnotherHolder) {
  const TemporaryFolder folder;
  std::optional<Holder> holder(std::in_place, folder.path());
  int pauses = 0;
  on_pause = [&](long /*milliseconds*/) {
    if (++pauses == 3) {
      holder.reset();
    }
  };
  const FolderLock lock(folder.path());
  EXPECT_EQ(pauses, 3);
  EXPECT_FALSE(lock.IsBusy());
  EXPECT_FALSE(IsFree(folder.path()));
}

TEST(FolderLock, GivesUpAfterTenSeconds) {
  const TemporaryFolder folder;
  const Holder holder(folder.path());
  long waited = 0;
  on_pause = [&](long milliseconds) { waited += milliseconds; };
  EXPECT_TRUE(FolderLock(folder.path()).IsBusy());
  EXPECT_GE(waited, 10'000);
  EXPECT_LT(waited, 10'100);
}

} // namespace
