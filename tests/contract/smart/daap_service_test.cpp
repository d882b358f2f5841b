#include "support.h"
#include "vexo/itunes.h"
#include <filesystem>

namespace {

class DaapServiceTest : public DeviceRootTest {
protected:
  /// The result of a restart with that configuration file.
  static bool RestartGives(int result, const std::string &configuration) {
    WriteBytes(vexo::system::kConfigFile, configuration);
    return InOwnProcess([&] { return iTunesServiceCheckAndReStart() == result; });
  }
};

TEST_F(DaapServiceTest, WithoutACommandTheRestartSucceeds) {
  EXPECT_TRUE(InOwnProcess([] { return iTunesServiceCheckAndReStart() == 0; }));
  EXPECT_TRUE(RestartGives(0, "[daap]\n"));
  EXPECT_TRUE(RestartGives(0, "[daap]\nrestart=\n"));
}

TEST_F(DaapServiceTest, RunsTheCommandWithItsArguments) {
  const std::string made = DEVICE_ROOT "/tmp/restarted";
  EXPECT_TRUE(RestartGives(0, "[daap]\nrestart = /bin/touch  -- " + made + "\n"));
  EXPECT_TRUE(std::filesystem::exists(made));
}

TEST_F(DaapServiceTest, ACommandThatFailsFailsTheRestart) {
  EXPECT_TRUE(RestartGives(-1, "[daap]\nrestart=/bin/false\n"));
}

TEST_F(DaapServiceTest, ACommandThatIsNotThereFailsTheRestart) {
  EXPECT_TRUE(RestartGives(-1, "[daap]\nrestart=/no/such/program\n"));
}

TEST_F(DaapServiceTest, ACommandIsAnAbsolutePath) {
  EXPECT_TRUE(RestartGives(-1, "[daap]\nrestart=true\n"));
}

} // namespace
