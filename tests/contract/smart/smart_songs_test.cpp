#include "accounts/accounts.h"
#include "index/media_index.h"
#include "support.h"
#include "system/limits.h"
#include "vexo/audio_file.h"
#include <filesystem>
#include <sys/resource.h>

namespace {

using vexo::index::Song;
using Songs = std::list<__tag_VEXO_MEDIA_INFO>;

Song MakeSong(const std::string &path, int owner, int year) {
  Song song;
  song.path = path;
  song.owner = owner;
  song.year = year;
  song.title = "title of " + path;
  return song;
}

/// Ann has a personal library, Bob has none.
class SmartSongsTest : public DeviceRootTest {
protected:
  void SetUp() override {
    DeviceRootTest::SetUp();
    ann_ = AddAccount("ann", true);
    AddAccount("bob", false);
    vexo::index::OpenMediaIndex()->WriteSongs(
        {MakeSong("/s1", 0, 1991), MakeSong("/s2", 0, 1992), MakeSong("/s3", 0, 1993),
         MakeSong("/a1", ann_, 1991), MakeSong("/x1", ann_ + 7, 1991)},
        {});
  }

  static int AddAccount(const char *name, bool personal_library) {
    vexo::accounts::Account account;
    account.name = name;
    account.personal_library = personal_library;
    const int id = vexo::accounts::AddAccount(account);
    std::filesystem::create_directories(std::filesystem::path(Rules(name)).parent_path());
    return id;
  }

  static std::string Rules(const char *name) {
    return vexo::accounts::FindAccount(name)->preference_folder + "/playlists/smart.playlist";
  }

  struct Answer {
    int result = 0;
    int count = -7;
    std::string paths;
    bool operator==(const Answer &) const = default;
  };

  /// Asked in a process of its own; whether the answer is the expected one.
  bool Lists(const char *name, int offset, int limit, const char *rules_file,
             const Answer &expected) const {
    return InOwnProcess([&] {
      Songs songs;
      Answer answer;
      answer.result = VexoAudioUtils::SmartPLSListSongs(name, offset, limit, &answer.count, songs,
                                                        rules_file, false);
      for (const __tag_VEXO_MEDIA_INFO &song : songs) {
        answer.paths += song.path;
      }
      EXPECT_EQ(answer, expected) << answer.result << " " << answer.count << " " << answer.paths;
      return answer == expected;
    });
  }

  int ann_ = 0;
};

TEST_F(SmartSongsTest, WithoutAFileTheSharedRulesAreMeantAndSeeSharedSongs) {
  WriteBytes(kSharedRules, "\"Early\" { year <= 1992 }");
  EXPECT_TRUE(Lists("Early", 0, 0, nullptr, {0, 2, "/s1/s2"}));
}

TEST_F(SmartSongsTest, OwnRulesSeeTheSharedAndTheOwnSongs) {
  const std::string rules = Rules("ann");
  WriteBytes(rules, "\"Early\" { year <= 1992 order by path }");
  EXPECT_TRUE(Lists("Early", 0, 0, rules.c_str(), {0, 3, "/a1/s1/s2"}));
}

TEST_F(SmartSongsTest, WithoutAPersonalLibraryOwnRulesSeeTheSharedSongs) {
  const std::string rules = Rules("bob");
  WriteBytes(rules, "\"Early\" { year <= 1992 }");
  EXPECT_TRUE(Lists("Early", 0, 0, rules.c_str(), {0, 2, "/s1/s2"}));
}

TEST_F(SmartSongsTest, OffsetAndLimitCutTheList) {
  WriteBytes(kSharedRules, "\"All\" { year > 0 } \"Two\" { year > 0 order by year desc limit 2 }");
  EXPECT_TRUE(Lists("All", 1, 0, nullptr, {0, 2, "/s2/s3"}));
  EXPECT_TRUE(Lists("All", 1, 1, nullptr, {0, 1, "/s2"}));
  EXPECT_TRUE(Lists("All", 0, 2147483647, nullptr, {0, 3, "/s1/s2/s3"}));
  EXPECT_TRUE(Lists("All", 3, 5, nullptr, {0, 0, ""}));
  EXPECT_TRUE(Lists("Two", 0, 0, nullptr, {0, 2, "/s3/s2"}));
  EXPECT_TRUE(Lists("Two", 1, 5, nullptr, {0, 1, "/s2"}));
  EXPECT_TRUE(Lists("Two", 2, 0, nullptr, {0, 0, ""}));
}

TEST_F(SmartSongsTest, ALimitOf0SongsIsAnEmptyList) {
  WriteBytes(kSharedRules, "\"None\" { year > 0 limit 0 }");
  EXPECT_TRUE(Lists("None", 0, 0, nullptr, {0, 0, ""}));
}

TEST_F(SmartSongsTest, ANegativeOffsetOrLimitFails) {
  WriteBytes(kSharedRules, "\"All\" { year > 0 }");
  EXPECT_TRUE(Lists("All", -1, 0, nullptr, {-1, -7, ""}));
  EXPECT_TRUE(Lists("All", 0, -1, nullptr, {-1, -7, ""}));
}

TEST_F(SmartSongsTest, AnUnknownPlaylistOrFileFailsAndLeavesTheCount) {
  WriteBytes(kSharedRules, "\"All\" { year > 0 }");
  EXPECT_TRUE(Lists("all", 0, 0, nullptr, {-1, -7, ""}));
  EXPECT_TRUE(Lists("All", 0, 0, Rules("ann").c_str(), {-1, -7, ""}));
  EXPECT_TRUE(Lists(nullptr, 0, 0, nullptr, {-1, -7, ""}));
}

TEST_F(SmartSongsTest, ABrokenPlaylistFailsAndTheOthersWork) {
  WriteBytes(kSharedRules, "\"Bad\" { year > }\n\"All\" { year > 1992 }");
  EXPECT_TRUE(Lists("Bad", 0, 0, nullptr, {-1, -7, ""}));
  EXPECT_TRUE(Lists("All", 0, 0, nullptr, {0, 1, "/s3"}));
}

TEST_F(SmartSongsTest, ADamagedIndexFails) {
  WriteBytes(kSharedRules, "\"All\" { year > 0 }");
  WriteBytes(vexo::system::kIndexFile, std::string(8192, 'x'));
  EXPECT_TRUE(InOwnProcess([] {
    Songs songs;
    int count = -7;
    return VexoAudioUtils::SmartPLSListSongs("All", 0, 0, &count, songs, nullptr, false) == -1 &&
           count == -7 && songs.empty();
  }));
}

TEST_F(SmartSongsTest, SongsThatNeedMoreMemoryThanThereIsAreCounted) {
  static constexpr int kMany = 40'000; // their records take 220 MB
  WriteBytes(kSharedRules, "\"All\" { year = 2000 }");
  std::vector<Song> many;
  for (int i = 0; i < kMany; ++i) {
    many.push_back(MakeSong("/" + std::to_string(i), 0, 2000));
  }
  vexo::index::OpenMediaIndex()->WriteSongs(many, {});
  WriteBytes(vexo::system::kConfigFile, "[limits]\nmemory_mib = 200\n");
  EXPECT_TRUE(InOwnProcess([] {
    vexo::system::LimitProcess();
    rlimit memory{};
    getrlimit(RLIMIT_AS, &memory);
    Songs songs;
    int count = 0;
    const int result =
        VexoAudioUtils::SmartPLSListSongs("All", 0, 0, &count, songs, nullptr, false);
    EXPECT_EQ(count, kMany);
    EXPECT_EQ(result, memory.rlim_cur == RLIM_INFINITY ? 0 : -1)
        << "a sanitizer's cannot be limited";
    return !HasFailure();
  }));
}

TEST_F(SmartSongsTest, SongsAreAppendedWithAllThatIsKnown) {
  WriteBytes(kSharedRules, "\"Last\" { year = 1993 }");
  EXPECT_TRUE(InOwnProcess([] {
    Songs songs(1);
    int count = 0;
    VexoAudioUtils::SmartPLSListSongs("Last", 0, 0, &count, songs, nullptr, true);
    EXPECT_EQ(songs.size(), 2U);
    EXPECT_EQ(count, 1);
    EXPECT_STREQ(songs.back().title, "title of /s3");
    EXPECT_EQ(songs.back().year, 1993);
    EXPECT_EQ(songs.back().id, 3);
    return !HasFailure();
  }));
}

} // namespace
