// What holds on file systems that several machines share, and which cannot all that a local one
// can.
#include "contract/files/files_test.h"
#include "files/edit_file.h"
#include "files/file_io.h"
#include "files/folder.h"
#include "files/lock_file.h"
#include "files/temporary_file.h"
#include "support/faults.h"
#include "support/processes.h"
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

namespace vexo::files {
namespace {

using faults::Call;

FileDescriptor OpenFolder(const std::string &path) {
  return FileDescriptor(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
}

bool IsLocked(const FileDescriptor &fd) {
  return flock(fd.get(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK;
}

mode_t ModeOf(const FileDescriptor &fd) {
  struct stat status {};
  EXPECT_EQ(fstat(fd.get(), &status), 0);
  return status.st_mode;
}

TEST_F(Files, ALockFileStandsForTheLockOfItsFolder) {
  ASSERT_EQ(chmod(folder_.path().c_str(), 0775), 0);
  const FileDescriptor first = OpenFolder(folder_.path()), second = OpenFolder(folder_.path()),
                       folder = OpenFolder(folder_.path());
  ASSERT_TRUE(ReplaceByLockFile(first.get()) && ReplaceByLockFile(second.get()));
  EXPECT_EQ(ModeOf(first), S_IFREG | 0664U);
  EXPECT_FALSE(IsLocked(first));
  EXPECT_TRUE(IsLocked(second));
  EXPECT_FALSE(IsLocked(folder));
  EXPECT_EQ(Names(), Set{kLockFile});
}

TEST_F(Files, WhereALockFileCannotBeOpenedThereIsNoLock) {
  std::filesystem::create_directory(folder_ / kLockFile);
  const FileDescriptor folder = OpenFolder(folder_.path());
  EXPECT_FALSE(ReplaceByLockFile(folder.get()));
  EXPECT_EQ(errno, EISDIR);
  EXPECT_TRUE(S_ISDIR(ModeOf(folder)));
}

TEST_F(Files, ALockFileThatSomebodyElseMadeMeanwhileStaysAsItIs) {
  ASSERT_EQ(chmod(folder_.path().c_str(), 0775), 0);
  WriteBytes(folder_ / kLockFile, "");
  ASSERT_EQ(chmod((folder_ / kLockFile).c_str(), 0600), 0);
  const FileDescriptor folder = OpenFolder(folder_.path());
  const faults::Fault fault(Call::kOpen, 1, ENOENT);
  EXPECT_TRUE(ReplaceByLockFile(folder.get()));
  EXPECT_EQ(ModeOf(folder), S_IFREG | 0600U);
}

TEST_F(Files, ALocalFolderIsLockedItself) {
  const FileDescriptor folder = OpenFolder(folder_.path());
  EXPECT_TRUE(LeadToLockFile(folder.get()));
  EXPECT_TRUE(S_ISDIR(ModeOf(folder)));
  EXPECT_EQ(Names(), Set{});
}

TEST_F(Files, WhatIsLockedMayBeWrittenWhereThatIsAllowed) {
  WriteBytes(path_, "abc");
  EXPECT_EQ(fcntl(OpenForLock(AT_FDCWD, path_.c_str()).get(), F_GETFL) & O_ACCMODE, O_RDWR);
  const faults::Fault fault(Call::kOpen, 1, EACCES);
  EXPECT_EQ(fcntl(OpenForLock(AT_FDCWD, path_.c_str()).get(), F_GETFL) & O_ACCMODE, O_RDONLY);
}

TEST_F(Files, WithoutExchangeAnEditHoldsTheFolderWhileItReplaces) {
  WriteBytes(path_, "abc");
  bool was_locked = false;
  faults::BeforeNextRename([&] { // this one is refused
    faults::BeforeNextRename([&] { was_locked = IsLocked(OpenFolder(folder_.path())); });
  });
  const faults::Fault fault(Call::kRename, 1, EINVAL);
  EXPECT_TRUE(EditTextDurably(path_, AppendX));
  EXPECT_TRUE(was_locked);
  EXPECT_EQ(ReadBytes(path_), "abcx");
  EXPECT_FALSE(IsLocked(OpenFolder(folder_.path())));
}

TEST_F(Files, WithoutExclusiveRenamesAFileIsSetAsideWhileTheFolderIsHeld) {
  WriteBytes(path_, "abc");
  bool was_locked = false;
  faults::BeforeNextRename([&] {
    faults::BeforeNextRename([&] { was_locked = IsLocked(OpenFolder(folder_.path())); });
  });
  const faults::Fault fault(Call::kRename, 1, EINVAL);
  FileSetAside(path_).Commit();
  EXPECT_TRUE(was_locked);
  EXPECT_EQ(Names(), Set{});
}

TEST_F(Files, AFileThatAnotherMachineReplacedIsTakenAnew) {
  WriteBytes(path_, "abc");
  {
    const faults::Fault fault(Call::kLock, 1, ESTALE);
    EXPECT_TRUE(EditTextDurably(path_, AppendX));
    EXPECT_TRUE(faults::Fault::Happened());
  }
  EXPECT_EQ(ReadBytes(path_), "abcx");
  const faults::Fault fault(Call::kOpen, 1, ESTALE);
  EXPECT_EQ(ReadWholeFile(path_), "abcx");
  EXPECT_TRUE(faults::Fault::Happened());
}

TEST_F(Files, AnotherMachinesProcessIsNotLookedForHere) {
  std::ostringstream process;
  process << std::hex << EndedProcess();
  std::string name = NewTemporaryName();
  const std::size_t space = name.find('-', std::string(".vexo-").size());
  const std::string own = folder_ / (".vexo-" + process.str() + name.substr(space));
  name[space + 1] = name[space + 1] == '1' ? '2' : '1';
  const std::string others = folder_ / (".vexo-" + process.str() + name.substr(space));
  WriteBytes(own, "");
  WriteBytes(others, "");
  EXPECT_TRUE(IsAbandonedTemporary(own));
  EXPECT_FALSE(IsAbandonedTemporary(others));
}

TEST_F(Files, TemporaryNamesAreOfChance) {
  const auto end = [](const std::string &name) { return name.substr(name.rfind('-')); };
  EXPECT_NE(end(NewTemporaryName()), end(NewTemporaryName()));
}

} // namespace
} // namespace vexo::files
