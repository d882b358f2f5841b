#include "support/device_root.h"
#include "system/admin_log.h"
#include "vexo/core.h"
#include <filesystem>
#include <gmock/gmock.h>
#include <system_error>
#include <thread>

namespace vexo::system {
namespace {

using ::testing::MatchesRegex;

constexpr const char *kTime =
    "[0-9][0-9][0-9][0-9]-[0-9][0-9]-[0-9][0-9]T[0-9][0-9]:[0-9][0-9]:[0-9][0-9]Z\t";

class AdminLog : public DeviceRootTest {
protected:
  static std::string Content() { return ReadBytes(kAdminLog); }
};

TEST_F(AdminLog, HoldsOneEventALine) {
  AppendAdminLog(0x13200003, {"remove playlist(s)"});
  AppendAdminLog(1, {"a", "b"});
  EXPECT_THAT(Content(), MatchesRegex(std::string(kTime) + "13200003\tremove playlist\\(s\\)\n" +
                                      kTime + "00000001\ta\tb\n"));
}

TEST_F(AdminLog, TakesAnEventOfTheProgram) {
  EXPECT_EQ(VEXOLogSet1(2, 1, 0x13200003, "remove playlist(s)", "", "", ""), 0);
  EXPECT_THAT(Content(), MatchesRegex(std::string(kTime) + "13200003\tremove playlist\\(s\\)\n"));
}

TEST_F(AdminLog, TakesTheTextsThatAreNotEmpty) {
  EXPECT_EQ(VEXOLogSet1(2, 1, 5, "text", nullptr, "b", ""), 0);
  EXPECT_THAT(Content(), MatchesRegex(std::string(kTime) + "00000005\ttext\tb\n"));
}

TEST_F(AdminLog, IsMadeWithItsFolder) {
  std::filesystem::remove_all(std::filesystem::path(kAdminLog).parent_path());
  EXPECT_EQ(VEXOLogSet1(2, 1, 5, "text", "", "", ""), 0);
  EXPECT_NE(Content(), "");
}

TEST_F(AdminLog, ThatCannotBeWrittenFailsTheCall) {
  std::filesystem::create_directory(kAdminLog);
  EXPECT_EQ(VEXOLogSet1(2, 1, 5, "text", "", "", ""), -1);
  EXPECT_THROW(AppendAdminLog(5, {"text"}), std::system_error);
}

TEST_F(AdminLog, KeepsLinesOfSeveralWritersApart) {
  const auto write = [](const std::string &text) {
    for (int i = 0; i < 200; ++i) {
      AppendAdminLog(7, {text});
    }
  };
  std::thread other(write, std::string(3000, 'a'));
  write(std::string(3000, 'b'));
  other.join();
  std::istringstream lines(Content());
  std::string line;
  int count = 0;
  for (; std::getline(lines, line); ++count) {
    const std::string text = line.substr(line.rfind('\t') + 1);
    ASSERT_TRUE(text == std::string(3000, 'a') || text == std::string(3000, 'b'));
  }
  EXPECT_EQ(count, 400);
}

} // namespace
} // namespace vexo::system
