#include "model/folder_lock.h"

#include "support/temporary_folder.h"
#include <fcntl.h>
#include <gtest/gtest.h>
#include <optional>
#include <sys/file.h>

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
  EXPECT_TRUE(IsFree(folder.path()));
}

TEST(FolderLock, OfAFileIsNoError) {
  const TemporaryFolder folder;
  WriteBytes(folder / "file", "");
  const FolderLock lock(folder / "file");
  EXPECT_EQ(ReadBytes(folder / "file"), "");
}

} // namespace
