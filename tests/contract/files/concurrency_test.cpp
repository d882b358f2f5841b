#include "contract/files/files_test.h"
#include "files/file_io.h"
#include "files/folder.h"
#include "support/processes.h"
#include <cstdio>
#include <fcntl.h>
#include <sys/file.h>

namespace vexo::files {
namespace {

TEST_F(Files, OfManyCreationsAtOnceExactlyOneSucceeds) {
  const auto create = [&](int i) {
    return CreateDurably(path_, std::string(1000, static_cast<char>('a' + i))) ? 0 : 1;
  };
  EXPECT_EQ(RunAtOnce(16, create), 1);
  const std::string content = ReadBytes(path_);
  EXPECT_EQ(content, std::string(1000, content.at(0)));
}

TEST_F(Files, NoEditOfManyProcessesIsLost) {
  constexpr int kProcesses = 16, kEdits = 20;
  WriteBytes(path_, "");
  const auto edit = [&](int) {
    for (int i = 0; i < kEdits; ++i) {
      if (!EditTextDurably(path_, AppendX)) {
        return 1;
      }
    }
    return 0;
  };
  EXPECT_EQ(RunAtOnce(kProcesses, edit), kProcesses);
  EXPECT_EQ(ReadBytes(path_), std::string(kProcesses * kEdits, 'x'));
  EXPECT_EQ(Names(), Set{"list.m3u"});
}

/// Appends an x to whichever of the two names is there.
bool EditEither(const std::string &one, const std::string &other, const TextEdit &edit) {
  for (const std::string &path : {one, other}) {
    if (EditTextDurably(path, edit)) {
      return true;
    }
  }
  return false;
}

TEST_F(Files, EditsThatRaceRenamesAreNeitherLostNorBringANameBack) {
  constexpr int kProcesses = 8, kEdits = 25;
  const std::string other = folder_ / "other.m3u";
  WriteBytes(path_, "");
  const auto work = [&](int process) {
    for (int done = 0; done < kEdits;) {
      if (process == 0) {
        std::rename(path_.c_str(), other.c_str());
        std::rename(other.c_str(), path_.c_str());
        ++done;
      } else {
        done += EditEither(path_, other, AppendX) ? 1 : 0;
      }
    }
    return 0;
  };
  EXPECT_EQ(RunAtOnce(kProcesses, work), kProcesses);
  EXPECT_EQ(Names().size(), 1U);
  EXPECT_EQ(ReadBytes(folder_ / *Names().begin()), std::string((kProcesses - 1) * kEdits, 'x'));
}

TEST_F(Files, ALockThatSomebodyKeepsIsWaitedForAWhileOnly) {
  WriteBytes(path_, "");
  const FileDescriptor holder(open(path_.c_str(), O_RDONLY | O_CLOEXEC));
  const FileDescriptor other(open(path_.c_str(), O_RDONLY | O_CLOEXEC));
  LockExclusively(holder.get(), path_);
  using std::chrono::milliseconds;
  EXPECT_EQ(ErrorOf([&] { LockExclusively(other.get(), path_, milliseconds(30)); }), EWOULDBLOCK);
  flock(holder.get(), LOCK_UN);
  EXPECT_TRUE(LockWithin(other.get(), milliseconds(0)));
}

TEST_F(Files, AReaderSeesWholeContentsOnly) {
  constexpr int kEdits = 100;
  WriteBytes(path_, std::string(100000, 'a'));
  const auto work = [&](int process) {
    for (int i = 0; i < kEdits; ++i) {
      const auto letter = static_cast<char>('b' + i % 20);
      if (process == 0) {
        ReplaceDurably(path_, std::string(100000, letter));
      } else {
        const std::string content = ReadWholeFile(path_).value();
        if (content.size() != 100000 ||
            content.find_first_not_of(content[0]) != std::string::npos) {
          return 1;
        }
      }
    }
    return 0;
  };
  EXPECT_EQ(RunAtOnce(3, work), 3);
}

} // namespace
} // namespace vexo::files
