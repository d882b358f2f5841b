// Rows that are looked up while a rename is under way: the file has its new name, the row not yet.
#include "contract/playlists/playlists_test.h"
#include "files/folder.h"
#include "playlists/settled_rows.h"
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace vexo::playlists {
namespace {

class SettledRows : public Playlists {
protected:
  void TearDown() override {
    ReleaseRow();
    Playlists::TearDown();
  }

  /// Whether the program could begin a rename in the folder now.
  static bool CanRename() {
    const files::FileDescriptor folder(open(Shared("").c_str(), O_RDONLY | O_CLOEXEC));
    return files::LockWithin(folder.get(), std::chrono::milliseconds(0));
  }

  /// Another process renames a.m3u to b.m3u. Comes back when the file has its new name.
  class Rename {
  public:
    Rename() {
      EXPECT_EQ(pipe(moved_), 0);
      index::SetProcessIndex(nullptr);
      child_ = fork();
      if (child_ == 0) {
        _exit(Run());
      }
      char byte = 0;
      EXPECT_EQ(read(moved_[0], &byte, 1), 1);
    }
    ~Rename() {
      int status = -1;
      EXPECT_EQ(waitpid(child_, &status, 0), child_);
      EXPECT_EQ(status, 0);
      close(moved_[0]);
      close(moved_[1]);
    }

  private:
    [[nodiscard]] int Run() const {
      const files::Folder folder(Shared("a.m3u"));
      files::LockExclusively(folder.fd(), folder.path());
      fs::rename(Shared("a.m3u"), Shared("b.m3u"));
      if (write(moved_[1], "m", 1) != 1) {
        return 1;
      }
      const auto renamed = MakeRecord(Shared("b.m3u"), "b");
      return -VEXOPlaylistDBUpdate("shared", 0, &renamed, Shared("a.m3u").c_str());
    }

    int moved_[2] = {-1, -1};
    pid_t child_ = -1;
  };

  static std::string PathByCursor(const std::string &id) {
    VEXOMediaCursor *const cursor =
        AudioInfoDBOpen("shared", 0, 3, "*", ("id = " + id).c_str(), 0, 0, 0, 0);
    __tag_VEXO_MEDIA_INFO row{};
    const int got = MediaInfoDBGet(cursor, &row);
    AudioInfoDBClose(cursor);
    return got == 0 ? row.path : "";
  }
};

TEST_F(SettledRows, ARenameUnderWayIsWaitedForByEachLookUp) {
  for (const bool by_cursor : {true, false}) {
    fs::remove(Shared("b.m3u"));
    const std::string id = AddShared("a.m3u", M3u({"/a"}));
    const Rename rename;
    char path[4096] = "";
    if (by_cursor) {
      EXPECT_EQ(PathByCursor(id), Shared("b.m3u"));
    } else {
      EXPECT_EQ(VEXOPlaylistPathGet("shared", 0, std::stoi(id), path, sizeof path), 0);
      EXPECT_EQ(path, Shared("b.m3u"));
    }
    ReleaseRow();
    index::ProcessIndex().RemovePlaylist(0, std::stoi(id));
  }
}

TEST_F(SettledRows, ARenameIsWaitedForInEachFolder) {
  fs::create_directory(Shared("sub"));
  const int gone = std::stoi(AddShared("sub/gone.m3u", ""));
  fs::remove(Shared("sub/gone.m3u"));
  const int renamed = std::stoi(AddShared("a.m3u", ""));
  const Rename rename;
  const auto rows = FindSettledRows(0, {gone, renamed});
  ASSERT_EQ(rows.size(), 2U);
  EXPECT_EQ(rows[rows[0].id == renamed ? 0 : 1].path, Shared("b.m3u"));
}

TEST_F(SettledRows, ARowThatIsHeldDoesNotStopOtherLookUps) {
  const std::string id = AddShared("a.m3u", "");
  EXPECT_EQ(PathByCursor(id), Shared("a.m3u"));
  fs::remove(Shared("a.m3u"));
  EXPECT_FALSE(CanRename());
  EXPECT_EQ(FindSettledRows(0, {std::stoi(id)}).size(), 1U);
  EXPECT_TRUE(CanRename());
}

TEST_F(SettledRows, ARowThatIsHeldIsNotRenamedUntilItIsRewritten) {
  const std::string id = AddShared("a.m3u", M3u({"/a"}));
  EXPECT_TRUE(CanRename());
  EXPECT_EQ(PathByCursor(id), Shared("a.m3u"));
  EXPECT_FALSE(CanRename());
  const auto record = MakeRecord(Shared("a.m3u"), "a");
  EXPECT_EQ(VEXOPlaylistDBUpdate("shared", 0, &record, std::stoi(id)), 0);
  EXPECT_TRUE(CanRename());
}

TEST_F(SettledRows, AreFoundWithoutAFileAndWithoutAFolder) {
  const std::string id = AddShared("a.m3u", "");
  fs::remove(Shared("a.m3u"));
  EXPECT_EQ(PathByCursor(id), Shared("a.m3u"));
  fs::rename(library(), library() + "-away");
  EXPECT_EQ(PathByCursor(id), Shared("a.m3u"));
  EXPECT_EQ(PathByCursor("4711"), "");
  fs::rename(library() + "-away", library());
}

} // namespace
} // namespace vexo::playlists
