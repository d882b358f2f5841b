#include "support/temporary_folder.h"
#include "system/run_program.h"
#include "vexo/core.h"
#include <csignal>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace {

using vexo::system::RunProgram;

TEST(VLIBCExec, GivesTheExitStatus) {
  EXPECT_EQ(VLIBCExec("/bin/true", nullptr, nullptr, nullptr, nullptr), 0);
  EXPECT_EQ(VLIBCExec("/bin/sh", "-c", "exit 3", nullptr, nullptr), 3);
}

TEST(VLIBCExec, PassesTheArgumentsUpToTheFirstNullOne) {
  const TemporaryFolder folder;
  EXPECT_EQ(VLIBCExec("/bin/touch", (folder / "a b").c_str(), (folder / "$(c)").c_str(), nullptr,
                      (folder / "d").c_str()),
            0);
  EXPECT_TRUE(std::filesystem::exists(folder / "a b"));
  EXPECT_TRUE(std::filesystem::exists(folder / "$(c)"));
  EXPECT_FALSE(std::filesystem::exists(folder / "d"));
}

TEST(VLIBCExec, PassesFourArguments) {
  const TemporaryFolder folder;
  EXPECT_EQ(VLIBCExec("/bin/touch", (folder / "1").c_str(), (folder / "2").c_str(),
                      (folder / "3").c_str(), (folder / "4").c_str()),
            0);
  EXPECT_TRUE(std::filesystem::exists(folder / "4"));
}

TEST(VLIBCExec, FailsForAProgramThatCannotBeRun) {
  const TemporaryFolder folder;
  WriteBytes(folder / "text", "not executable");
  EXPECT_EQ(VLIBCExec("/no/such/program", nullptr, nullptr, nullptr, nullptr), -1);
  EXPECT_EQ(VLIBCExec((folder / "text").c_str(), nullptr, nullptr, nullptr, nullptr), -1);
  EXPECT_EQ(VLIBCExec(nullptr, nullptr, nullptr, nullptr, nullptr), -1);
}

TEST(VLIBCExec, FailsForAProgramThatASignalEnded) {
  EXPECT_EQ(VLIBCExec("/bin/sh", "-c", "kill -9 $$", nullptr, nullptr), -1);
}

TEST(RunProgram, KeepsTheProgramAwayFromInputAndAnswer) {
  ::testing::internal::CaptureStdout();
  EXPECT_EQ(RunProgram("/bin/sh", {"-c", "echo noise; ! read line"}), 0);
  EXPECT_EQ(::testing::internal::GetCapturedStdout(), "");
}

TEST(RunProgram, StartsTheProgramWithPlainSignals) {
  const auto before = std::signal(SIGPIPE, SIG_IGN);
  EXPECT_EQ(RunProgram("/bin/sh", {"-c", "kill -PIPE $$; exit 0"}), std::nullopt);
  std::signal(SIGPIPE, before);
}

TEST(RunProgram, LetsNotEverybodyWriteWhatItMakes) {
  const TemporaryFolder folder;
  const mode_t old = umask(0);
  EXPECT_EQ(RunProgram("/bin/touch", {folder / "file"}), 0);
  EXPECT_EQ(umask(old), 0U) << "the mask is as it was";
  EXPECT_EQ(std::filesystem::status(folder / "file").permissions(), std::filesystem::perms(0664));
}

TEST(RunProgram, NeedsNoShellToStartOne) {
  EXPECT_EQ(RunProgram("/bin/true; /bin/false", {}), std::nullopt);
}

} // namespace
