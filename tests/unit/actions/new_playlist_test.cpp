// The steps by which a playlist comes into being, where several processes take them at once.
#include "actions/new_playlist.h"

#include "unit/actions/action_test.h"
#include <fcntl.h>
#include <functional>
#include <sys/wait.h>
#include <unistd.h>

namespace {

/// Run before the program makes a folder.
std::function<void(const char *path)> before_mkdir;

} // namespace

extern "C" {
int __real_mkdir(const char *path, mode_t mode);
int __wrap_mkdir(const char *path, mode_t mode);
int __wrap_mkdir(const char *path, mode_t mode) {
  if (before_mkdir) {
    before_mkdir(path);
  }
  return __real_mkdir(path, mode);
}
}

namespace {

class NewPlaylist : public ActionTest {
protected:
  void TearDown() override {
    before_mkdir = nullptr;
    ActionTest::TearDown();
  }

  /// Runs `step` in `count` processes at once and returns in how many it was true.
  static int Succeeded(int count, const std::function<bool()> &step) {
    int gate[2];
    EXPECT_EQ(pipe(gate), 0);
    std::vector<pid_t> children;
    for (int i = 0; i < count; ++i) {
      children.push_back(fork());
      if (children.back() == 0) {
        char opened = 0;
        close(gate[1]);
        const ssize_t got = read(gate[0], &opened, 1); // ends when the gate closes
        _exit(got == 0 && step() ? 1 : 0);
      }
    }
    close(gate[1]);
    close(gate[0]);
    int succeeded = 0;
    for (const pid_t child : children) {
      int status = 0;
      EXPECT_EQ(waitpid(child, &status, 0), child);
      EXPECT_TRUE(WIFEXITED(status));
      succeeded += WEXITSTATUS(status);
    }
    return succeeded;
  }

  PlaylistLocation Location() {
    PlaylistLocation location;
    location.kind = StorageKind::kPreferenceFolder;
    location.root = preferences();
    location.path = PlaylistFilePath(preferences(), "Road");
    return location;
  }
};

TEST_F(NewPlaylist, TakesAFolderThatAnotherProcessMakesMeanwhile) {
  before_mkdir = [](const char *path) { __real_mkdir(path, 0777); };
  Json::Value response;
  EXPECT_TRUE(MakePlaylistsFolder(preferences() + "/playlists", true, false, response));
  EXPECT_TRUE(response.isNull());
  EXPECT_THAT(host().Messages(), ::testing::IsEmpty());
}

TEST_F(NewPlaylist, FailsWhenSomethingElseComesIntoTheFoldersPlace) {
  before_mkdir = [](const char *path) { std::filesystem::create_symlink("/nowhere/at/all", path); };
  Json::Value response;
  EXPECT_FALSE(MakePlaylistsFolder(preferences() + "/playlists", true, false, response));
  EXPECT_THAT(host().Messages(), ::testing::ElementsAre("Failed to create directory File exists."));
}

TEST_F(NewPlaylist, HasItsFolderMadeByManyProcessesAtOnce) {
  EXPECT_EQ(Succeeded(16,
                      [] {
                        Json::Value response;
                        return MakePlaylistsFolder(preferences() + "/playlists", true, false,
                                                   response);
                      }),
            16);
}

TEST_F(NewPlaylist, IsCreatedByOneOfManyProcesses) {
  std::filesystem::create_directory(preferences() + "/playlists");
  const PlaylistLocation location = Location();
  EXPECT_EQ(Succeeded(16,
                      [&] {
                        Json::Value response;
                        return CreateEmptyPlaylist(location, false, response);
                      }),
            1);
}

} // namespace
