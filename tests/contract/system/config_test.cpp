// The configuration is read once a process, so each of these asks a process of its own.
#include "support/device_root.h"
#include "system/config.h"
#include "vexo/core.h"
#include <array>
#include <functional>
#include <sys/wait.h>
#include <unistd.h>

namespace vexo::system {
namespace {

/// Whether `check` holds in a fresh process.
bool Holds(const std::function<bool()> &check) {
  const pid_t child = fork();
  if (child == 0) {
    _exit(check() ? 0 : 1);
  }
  int status = 0;
  waitpid(child, &status, 0);
  return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

/// The same with `text` as the configuration file.
bool HoldsWith(const std::string &text, const std::function<bool()> &check) {
  WriteBytes(kConfigFile, text);
  return Holds(check);
}

class Config : public DeviceRootTest {};

TEST_F(Config, WithoutAFileHoldsNothing) {
  EXPECT_TRUE(Holds([] { return !Setting("audio", "key") && Sections("").empty(); }));
}

TEST_F(Config, GivesTheValueOfAKeyInItsSection) {
  EXPECT_TRUE(HoldsWith("[a]\nkey = one  \n# comment\n[b]\nkey=two ; comment\n", [] {
    return Setting("a", "key") == "one" && Setting("b", "key") == "two" && !Setting("a", "other") &&
           !Setting("c", "key");
  }));
}

TEST_F(Config, GivesTheLastValueOfAKeyThatStandsTwice) {
  EXPECT_TRUE(HoldsWith("[a]\nkey=1\nkey=2\n", [] { return Setting("a", "key") == "2"; }));
}

TEST_F(Config, TakesLinesOfAnyLength) {
  EXPECT_TRUE(HoldsWith("[a]\nkey=" + std::string(5000, 'x') + "\nlast=1\n", [] {
    return Setting("a", "key") == std::string(5000, 'x') && Setting("a", "last") == "1";
  }));
}

TEST_F(Config, TakesIndentedLinesAsLines) {
  EXPECT_TRUE(HoldsWith("[a]\n  one=1\n  two=2\n", [] { return Setting("a", "two") == "2"; }));
}

TEST_F(Config, HoldsWhatStandsBeforeALineThatIsNotUnderstood) {
  EXPECT_TRUE(HoldsWith("[a]\nbefore=1\nnonsense\nbehind=2\n",
                        [] { return Setting("a", "before") == "1" && !Setting("a", "behind"); }));
}

TEST_F(Config, NamesItsSectionsInTheirOrder) {
  EXPECT_TRUE(
      HoldsWith("[player 2]\nhost=a\n[texts]\nx=1\n[player usb]\nhost=b\n[player 2]\nport=1\n", [] {
        return Sections("player ") == std::vector<std::string>{"player 2", "player usb"};
      }));
}

TEST_F(Config, GivesTheAudioPackageItsSettings) {
  EXPECT_TRUE(HoldsWith("[audio]\naudio_enable_equalizer=yes\nempty=\n", [] {
    std::array<char, 1024> buffer{};
    const bool yes = VEXOAudioConfGet("audio_enable_equalizer", buffer.data(), 1024) == 4 &&
                     std::string(buffer.data()) == "yes";
    return yes && VEXOAudioConfGet("empty", buffer.data(), 1024) == 1 && buffer[0] == '\0' &&
           VEXOAudioConfGet("none", buffer.data(), 1024) == 0 &&
           VEXOAudioConfGet("audio_enable_equalizer", buffer.data(), 3) == 0 &&
           VEXOAudioConfGet(nullptr, buffer.data(), 1024) == 0 &&
           VEXOAudioConfGet("empty", nullptr, 1024) == 0;
  }));
}

TEST_F(Config, SaysTheCodePageOfTexts) {
  const auto is = [](int wanted) {
    return [wanted] {
      int code_page = 0;
      return VLIBCCodePageGet(2, &code_page) == 0 && code_page == wanted;
    };
  };
  EXPECT_TRUE(HoldsWith("", is(65001)));
  EXPECT_TRUE(HoldsWith("[texts]\ncode_page=932\n", is(932)));
  EXPECT_TRUE(HoldsWith("[texts]\ncode_page=shift_jis\n", is(65001)));
  EXPECT_TRUE(HoldsWith("[texts]\ncode_page=-1\n", is(65001)));
  EXPECT_TRUE(HoldsWith("[texts]\ncode_page=1200\n", is(65001))); // UTF-16: no page of bytes
}

TEST_F(Config, KnowsNoOtherCodePage) {
  int code_page = 7;
  EXPECT_EQ(VLIBCCodePageGet(1, &code_page), -1);
  EXPECT_EQ(VLIBCCodePageGet(2, nullptr), -1);
  EXPECT_EQ(code_page, 7);
}

} // namespace
} // namespace vexo::system
