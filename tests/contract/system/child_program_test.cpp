// Programs that read a file and write into a pipe, and the places that bound how many there are.
#include "support/device_root.h"
#include "support/processes.h"
#include "system/child_program.h"
#include "system/slots.h"
#include <csignal>
#include <fcntl.h>
#include <gtest/gtest.h>

namespace vexo::system {
namespace {

using namespace std::chrono_literals;
using files::FileDescriptor;

constexpr std::size_t kMost = 1 << 20;

FileDescriptor Nothing() { return FileDescriptor(open("/dev/null", O_RDONLY | O_CLOEXEC)); }

/// A shell's child, with nothing to read.
struct Shell : ChildProgram {
  explicit Shell(const std::string &script, const ChildLimits &limits = {})
      : ChildProgram("/bin/sh", {"-c", script}, Nothing().get(), limits) {}
};

bool IsThere(const std::string &process) {
  return kill(static_cast<pid_t>(std::stol(process)), 0) == 0;
}

TEST(Child, WritesWhatIsReadAndTellsHowItEnded) {
  Shell shell("echo one; sleep 0.1; echo two; exit 3");
  EXPECT_EQ(shell.ReadAll(kMost, 10s), "one\ntwo\n");
  EXPECT_EQ(shell.Wait().exit_status, 3);
}

TEST(Child, ReadsItsFileAndGetsItsArgumentsAsTheyAre) {
  const TemporaryFolder folder;
  WriteBytes(folder / "file", "content");
  const FileDescriptor file(open((folder / "file").c_str(), O_RDONLY | O_CLOEXEC));
  ChildProgram child("/bin/sh", {"-c", "cat; printf %s \"$0$1\"", " $(x)", "\"*"}, file.get(), {});
  EXPECT_EQ(child.ReadAll(kMost, 10s), "content $(x)\"*");
}

TEST(Child, HasNothingElseOfItsParent) {
  setenv("SECRET", "x", 1);
  const FileDescriptor inherited(open("/dev/null", O_RDONLY));
  Shell shell("env | grep -v '^PWD=\\|^_=\\|^SHLVL='; ls /proc/$$/fd | tr '\\n' ' '");
  EXPECT_EQ(shell.ReadAll(kMost, 10s), "PATH=/usr/bin:/bin\n0 1 2 ");
  unsetenv("SECRET");
}

TEST(Child, WritesNoFileAndGetsNoPrivileges) {
  const TemporaryFolder folder;
  Shell shell("echo x > " + (folder / "file") + "; grep NoNewPrivs /proc/$$/status");
  EXPECT_EQ(shell.ReadAll(kMost, 10s).value_or(""), "");
  EXPECT_EQ(shell.Wait().signal, SIGXFSZ);
  EXPECT_EQ(ReadBytes(folder / "file"), "");
  Shell other("grep NoNewPrivs /proc/$$/status");
  EXPECT_EQ(other.ReadAll(kMost, 10s), "NoNewPrivs:\t1\n");
}

TEST(Child, HasLimits) {
  Shell shell("ulimit -v; ulimit -t; ulimit -c; nice",
              {.memory_bytes = 64 << 20, .cpu_seconds = 7, .nice = 9});
  EXPECT_EQ(shell.ReadAll(kMost, 10s), "65536\n7\n0\n9\n");
}

TEST(Child, ThatIsNotThereHasAStatusOfItsOwn) {
  ChildProgram child("/no/such/program", {}, Nothing().get(), {});
  EXPECT_EQ(child.ReadAll(kMost, 10s), "");
  EXPECT_EQ(child.Wait().exit_status, ChildProgram::kCannotStart);
}

TEST(Child, ThatIsEndedByASignalSaysWhich) {
  Shell shell("kill -SEGV $$");
  EXPECT_EQ(shell.ReadAll(kMost, 10s), "");
  const ChildEnd end = shell.Wait();
  EXPECT_EQ(end.exit_status, -1);
  EXPECT_EQ(end.signal, SIGSEGV);
}

TEST(Child, ThatTakesTooLongOrWritesTooMuchIsGivenUp) {
  Shell slow("sleep 100");
  EXPECT_EQ(slow.ReadAll(kMost, 50ms), std::nullopt);
  Shell large("head -c 100 /dev/zero");
  EXPECT_EQ(large.ReadAll(99, 10s), std::nullopt);
}

TEST(Child, EndsWithItsObject) {
  std::string process;
  {
    Shell shell("echo $$; exec sleep 100");
    std::array<char, 32> text{};
    ASSERT_GT(read(shell.output(), text.data(), text.size() - 1), 0);
    process = text.data();
    EXPECT_TRUE(IsThere(process));
  }
  EXPECT_FALSE(IsThere(process));
}

TEST(Child, EndsWithItsParentHoweverThatEnds) {
  std::array<int, 2> ends{};
  ASSERT_EQ(pipe(ends.data()), 0);
  const pid_t parent = fork();
  if (parent == 0) {
    Shell shell("echo $$; exec sleep 100");
    std::array<char, 32> text{};
    const ssize_t size = read(shell.output(), text.data(), text.size());
    _exit(write(ends[1], text.data(), static_cast<std::size_t>(size)) == size && raise(SIGKILL));
  }
  std::array<char, 32> text{};
  ASSERT_GT(read(ends[0], text.data(), text.size() - 1), 0);
  waitpid(parent, nullptr, 0);
  for (int tries = 0; tries < 500 && IsThere(text.data()); ++tries) {
    usleep(10'000);
  }
  EXPECT_FALSE(IsThere(text.data()));
  close(ends[0]);
  close(ends[1]);
}

class Slot : public DeviceRootTest {};

TEST_F(Slot, IsForOneAtATimeAndThereAreSoMany) {
  {
    const auto one = TakeSlot("work", 2, 0ms), two = TakeSlot("work", 2, 0ms);
    EXPECT_TRUE(one && two);
    EXPECT_EQ(TakeSlot("work", 2, 30ms), std::nullopt);
    EXPECT_TRUE(TakeSlot("other", 1, 0ms));
  }
  EXPECT_TRUE(TakeSlot("work", 2, 0ms));
  EXPECT_EQ(TakeSlot("none", 0, 0ms), std::nullopt);
}

TEST_F(Slot, IsWaitedForAndEndsWithItsProcess) {
  WaitingProcesses processes(8, [](int) -> int {
    const auto slot = TakeSlot("work", 2, 10s);
    usleep(10'000);
    _exit(slot ? 0 : 1); // without a destructor
  });
  EXPECT_EQ(processes.Run(), 8);
  EXPECT_TRUE(TakeSlot("work", 1, 0ms));
}

} // namespace
} // namespace vexo::system
