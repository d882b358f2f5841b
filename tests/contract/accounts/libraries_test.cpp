#include "accounts/accounts.h"
#include "accounts/libraries.h"
#include "support/device_root.h"
#include <stdexcept>

namespace vexo::accounts {
namespace {

namespace fs = std::filesystem;

class Libraries : public DeviceRootTest {
protected:
  void SetUp() override {
    DeviceRootTest::SetUp();
    id_ = Add("alice", true);
    Add("bob", true);
    Add("carol", false);
  }

  static int Add(const std::string &name, bool personal) {
    Account account;
    account.name = name;
    account.personal_library = personal;
    return AddAccount(account);
  }
  static std::string Personal(const std::string &name) {
    return std::string(system::kHomes) + "/" + name + "/music";
  }
  static std::string Song(const std::string &path) {
    fs::create_directories(fs::path(path).parent_path());
    WriteBytes(path, "song");
    return path;
  }

  int id_ = 0;
};

TEST_F(Libraries, OfOwnerZeroIsTheTargetOfTheLink) {
  EXPECT_EQ(SharedLibraryFolder(), library());
  EXPECT_EQ(LibraryFolder(0), library());
}

TEST_F(Libraries, WithoutTheLinkAreNotShared) {
  fs::remove(system::kMusicLink);
  EXPECT_FALSE(SharedLibraryFolder());
  fs::create_directory(system::kMusicLink);
  EXPECT_FALSE(SharedLibraryFolder());
}

TEST_F(Libraries, OfAUserAreThereWhenOn) {
  EXPECT_EQ(LibraryFolder(id_), Personal("alice"));
  EXPECT_FALSE(LibraryFolder(FindAccount("carol")->id));
  EXPECT_FALSE(LibraryFolder(4711));
  EXPECT_FALSE(LibraryFolder(-1));
}

TEST(IsWithin, ComparesWholeComponents) {
  struct Row {
    const char *path, *folder;
    bool within;
  };
  const Row rows[] = {
      {"/music", "/music", true},       {"/music/a", "/music", true},
      {"/music/a/b", "/music/a", true}, {"/musical/a", "/music", false},
      {"/musi", "/music", false},       {"/other", "/music", false},
      {"/anything", "/", true},         {"/", "/", true},
      {"/", "/music", false},
  };
  for (const Row &row : rows) {
    EXPECT_EQ(IsWithin(row.path, row.folder), row.within) << row.path << " in " << row.folder;
  }
}

TEST_F(Libraries, LetSongsOfTheSharedLibraryGo) {
  const std::string song = Song(library() + "/album/a.mp3");
  EXPECT_EQ(SendableSongFile(song, "carol"), song);
  EXPECT_EQ(SendableSongFile(std::string(system::kMusicLink) + "/album/a.mp3", "bob"), song);
}

TEST_F(Libraries, LetSongsOfOnesOwnGo) {
  const std::string song = Song(Personal("alice") + "/a.mp3");
  EXPECT_EQ(SendableSongFile(song, "alice"), song);
}

TEST_F(Libraries, KeepSongsOfOthers) {
  const std::string song = Song(Personal("alice") + "/a.mp3");
  EXPECT_FALSE(SendableSongFile(song, "bob"));
  EXPECT_FALSE(SendableSongFile(song, "carol"));
  EXPECT_FALSE(SendableSongFile(song, "nobody"));
  EXPECT_FALSE(SendableSongFile(song, ""));
}

TEST_F(Libraries, KeepSongsOfALibraryThatIsOff) {
  const std::string song = Song(Personal("alice") + "/a.mp3");
  ChangeAccount("alice", [](Account &account) { account.personal_library = false; });
  EXPECT_FALSE(SendableSongFile(song, "alice"));
}

TEST_F(Libraries, KeepWhatLiesElsewhere) {
  const std::string secret = Song(DEVICE_ROOT "/etc/secret");
  const std::string twin = Song(library() + "-twin/a.mp3");
  fs::create_symlink(secret, library() + "/link.mp3");
  EXPECT_FALSE(SendableSongFile(secret, "alice"));
  EXPECT_FALSE(SendableSongFile(library() + "/../etc/secret", "alice"));
  EXPECT_FALSE(SendableSongFile(library() + "/link.mp3", "alice"));
  EXPECT_FALSE(SendableSongFile(twin, "alice"));
}

TEST_F(Libraries, KeepWhatIsNoFile) {
  EXPECT_FALSE(SendableSongFile(library(), "alice"));
  EXPECT_FALSE(SendableSongFile(library() + "/missing.mp3", "alice"));
  EXPECT_FALSE(SendableSongFile("", "alice"));
  EXPECT_FALSE(SendableSongFile("http://host/stream", "alice"));
}

TEST_F(Libraries, FollowLinksInside) {
  const std::string song = Song(library() + "/a.mp3");
  fs::create_symlink(song, library() + "/link.mp3");
  EXPECT_EQ(SendableSongFile(library() + "/link.mp3", "bob"), song);
}

} // namespace
} // namespace vexo::accounts
