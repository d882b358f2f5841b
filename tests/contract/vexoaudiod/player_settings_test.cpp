// The players of the configuration, which is read once a process: each test asks one of its own.
#include "support/device_root.h"
#include "vexoaudiod/player_settings.h"
#include <functional>
#include <sys/wait.h>
#include <unistd.h>

namespace vexo::audiod {
namespace {

class ConfiguredPlayersTest : public DeviceRootTest {
protected:
  using Players = std::map<int, PlayerSettings>;

  /// Whether `check` holds for the players of this configuration.
  static bool Hold(const std::string &configuration,
                   const std::function<bool(const Players &)> &check) {
    WriteBytes(system::kConfigFile, configuration);
    const pid_t child = fork();
    if (child == 0) {
      _exit(check(ConfiguredPlayers()) ? 0 : 1);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
  }
};

TEST_F(ConfiguredPlayersTest, AreTheNumberedSectionsAndTheUsbOne) {
  EXPECT_TRUE(Hold("[player 0]\nhost=/run/mpd/socket\npartition=attic\n"
                   "[player 12]\nhost=10.0.0.2\nport=6601\nmusic_directory=/srv/music/\n"
                   "[player usb]\nhost=usb.local\n",
                   [](const Players &players) {
                     return players.size() == 3 && players.at(0).host == "/run/mpd/socket" &&
                            players.at(0).partition == "attic" && players.at(0).port == 6600 &&
                            players.at(0).music_directory.empty() &&
                            players.at(12).host == "10.0.0.2" && players.at(12).port == 6601 &&
                            players.at(12).music_directory == "/srv/music" &&
                            players.at(-1).host == "usb.local";
                   }));
}

TEST_F(ConfiguredPlayersTest, WithoutAHostAreOnThisMachine) {
  EXPECT_TRUE(Hold("[player 3]\npartition=a\n",
                   [](const Players &players) { return players.at(3).host == "localhost"; }));
}

TEST_F(ConfiguredPlayersTest, AreNoneWithoutAFile) {
  EXPECT_TRUE(Hold("", [](const Players &players) { return players.empty(); }));
}

TEST_F(ConfiguredPlayersTest, LeaveOutWhatCannotBeAPlayer) {
  for (const char *section : {"player -1", "player one", "player USB", "player 1 2", "player 0x1",
                              "player 4294967296", "player "}) {
    EXPECT_TRUE(Hold(
        "[" + std::string(section) + "]\nhost=a\n[player 1]\nhost=b\n",
        [](const Players &players) { return players.size() == 1 && players.at(1).host == "b"; }))
        << section;
  }
}

TEST_F(ConfiguredPlayersTest, LeaveOutAPortThatIsNone) {
  for (const char *port : {"0", "65536", "-1", "http", "66 00", ""}) {
    EXPECT_TRUE(Hold("[player 1]\nhost=a\nport=" + std::string(port) + "\n",
                     [](const Players &players) { return players.empty(); }))
        << port;
  }
}

} // namespace
} // namespace vexo::audiod
