// The look-up of equalizer profiles.
#include "player/ctrl.h"
#include "recording_platform/host_test.h"
#include "support/temporary_folder.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::StartsWith;

class EqualizerTest : public recording::HostTest {
protected:
  int Find(const std::string &profiles, const char *name) {
    const std::string path = root() + "/tmp/profiles";
    WriteBytes(path, profiles);
    return EqualizerProfileFind(path.c_str(), name, value_, sizeof value_);
  }
  char value_[64] = "untouched";
};

struct FindRow {
  const char *description;
  std::string profiles;
  const char *name;
  int result;
  const char *value;
};

const FindRow kFindRows[] = {
    {"the first line", "Rock:1 2\nPop:3\n", "Rock", 1, "1 2"},
    {"a later line", "Rock:1 2\nPop:3 4\n", "Pop", 1, "3 4"},
    {"the last line without its end", "Rock:1\nPop:3", "Pop", 1, "3"},
    {"not there", "Rock:1\n", "Jazz", 0, "untouched"},
    {"an empty file", "", "Rock", 0, "untouched"},
    {"settings are trimmed at both ends", "Rock: \t1 2 \n", "Rock", 1, "1 2"},
    {"the first match wins", "Rock:1\nRock:2\n", "Rock", 1, "1"},
    {"a line's name matches a longer name", "Rock:1\nRock2:2\n", "Rock2", 1, "1"},
    {"but not a shorter one", "Rock2:2\n", "Rock", 0, "untouched"},
    {"an empty name matches every name", ":9\n", "Rock", 1, "9"},
    {"the last colon ends the name", "My: Rock:1\n", "My: Rock", 1, "1"},
    {"names are compared with their case", "rock:1\n", "Rock", 0, "untouched"},
    {"empty settings", "Rock:\n", "Rock", 1, ""},
    {"a line of 1023 bytes with its end is one line",
     std::string(1000, 'a') + ":" + std::string(21, '1') + "\nRock:2\n", "Rock", 1, "2"},
};

TEST_F(EqualizerTest, FindsAProfileByItsName) {
  for (const FindRow &row : kFindRows) {
    strcpy(value_, "untouched");
    EXPECT_EQ(Find(row.profiles, row.name), row.result) << row.description;
    EXPECT_STREQ(value_, row.value) << row.description;
  }
  EXPECT_THAT(host().log, IsEmpty());
}

TEST_F(EqualizerTest, ALineWithoutAColonFailsTheWholeLookUp) {
  EXPECT_EQ(Find("Pop:3\nbroken\nRock:1\n", "Rock"), -1);
  ASSERT_THAT(host().Messages(), ElementsAre(StartsWith("The EQ profile [broken")));
  EXPECT_EQ(host().log[0].module, "ctrl.c");
}

TEST_F(EqualizerTest, AMatchBeforeABrokenLineIsFound) {
  EXPECT_EQ(Find("Rock:1\nbroken\n", "Rock"), 1);
  EXPECT_THAT(host().log, IsEmpty());
}

TEST_F(EqualizerTest, ALineOver1023BytesIsReadInPieces) {
  EXPECT_EQ(Find("Pop:" + std::string(1030, '1') + "\n", "Rock"), -1);
  EXPECT_THAT(host().Messages(), ElementsAre(StartsWith("The EQ profile [11111111111")));
}

TEST_F(EqualizerTest, AFileThatCannotBeOpenedFailsWithoutALogLine) {
  EXPECT_EQ(EqualizerProfileFind((root() + "/none").c_str(), "Rock", value_, sizeof value_), -1);
  EXPECT_THAT(host().log, IsEmpty());
}

TEST_F(EqualizerTest, SettingsAreCutAtTheBuffer) {
  char small[4];
  WriteBytes(root() + "/tmp/profiles", "Rock:12345\n");
  EXPECT_EQ(EqualizerProfileFind((root() + "/tmp/profiles").c_str(), "Rock", small, sizeof small),
            1);
  EXPECT_STREQ(small, "123");
}

TEST_F(EqualizerTest, ASettingThatCannotBeTrimmedIsLogged) {
  host().results["VLIBCStrTrimSpace"] = {-1};
  EXPECT_EQ(Find("Rock:1\n", "Rock"), -1);
  EXPECT_THAT(host().Messages(), ElementsAre("Failed to trim [1]."));
  EXPECT_THAT(host().Calls("VLIBCStrTrimSpace"), ElementsAre("VLIBCStrTrimSpace(\"1\n\", 0)"));
}

class DefaultEqualizerTest : public EqualizerTest {
protected:
  void SetUp() override {
    EqualizerTest::SetUp();
    for (const std::string &path : {system(), user()}) {
      std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    }
    WriteBytes(system(), "Rock:1\n");
    WriteBytes(user(), "Mine:2\n");
    host().texts["audio_enable_equalizer"] = "yes";
    host().texts["audio_default_equalizer"] = "Rock";
  }
  static std::string system() {
    return root() + "/var/packages/Cantorix/target/etc/equalizer.system";
  }
  static std::string user() { return root() + "/var/packages/Cantorix/etc/equalizer.user"; }
  int Get() { return EqualizerDefaultProfileGet(value_, sizeof value_); }
};

TEST_F(DefaultEqualizerTest, IsASystemProfile) {
  EXPECT_EQ(Get(), 1);
  EXPECT_STREQ(value_, "1");
  EXPECT_THAT(host().Calls("VEXOAudioConfGet"),
              ElementsAre("VEXOAudioConfGet(\"audio_enable_equalizer\", 1024)",
                          "VEXOAudioConfGet(\"audio_default_equalizer\", 1024)"));
}

TEST_F(DefaultEqualizerTest, IsOneOfTheUserWhenTheSystemHasNone) {
  host().texts["audio_default_equalizer"] = "Mine";
  EXPECT_EQ(Get(), 1);
  EXPECT_STREQ(value_, "2");
}

TEST_F(DefaultEqualizerTest, IsNotFoundWhenNeitherHasIt) {
  host().texts["audio_default_equalizer"] = "Jazz";
  EXPECT_EQ(Get(), 0);
}

TEST_F(DefaultEqualizerTest, IsOffUnlessTheSettingIsExactlyYes) {
  for (const char *value : {"no", "", "Yes", "yes ", "true"}) {
    host().texts["audio_enable_equalizer"] = value;
    EXPECT_EQ(Get(), 0) << value;
  }
  host().texts.erase("audio_enable_equalizer");
  EXPECT_EQ(Get(), 0) << "no setting";
  EXPECT_STREQ(value_, "untouched");
}

TEST_F(DefaultEqualizerTest, IsNothingWithoutADefault) {
  host().texts.erase("audio_default_equalizer");
  EXPECT_EQ(Get(), 0);
}

TEST_F(DefaultEqualizerTest, AnUnreadableSystemFileIsLoggedAndEndsTheLookUp) {
  std::filesystem::remove(system());
  host().texts["audio_default_equalizer"] = "Mine";
  EXPECT_EQ(Get(), -1);
  EXPECT_THAT(host().Messages(),
              ElementsAre("Failed to open the system EQ profile [" + system() + "]."));
}

TEST_F(DefaultEqualizerTest, AnUnreadableUserFileFailsWithoutALogLine) {
  std::filesystem::remove(user());
  host().texts["audio_default_equalizer"] = "Mine";
  EXPECT_EQ(Get(), -1);
  EXPECT_THAT(host().log, IsEmpty());
}

} // namespace
