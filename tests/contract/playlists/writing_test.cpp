// Playlist files that are written as a whole: where, and what is there when that is cut short.
#include "contract/playlists/playlists_test.h"
#include "support/faults.h"

namespace vexo::playlists {
namespace {

using Writing = Playlists;

TEST_F(Writing, MakesAFileOfItsOwn) {
  const auto record = MakeRecord("/m/a.mp3", "Title", "Artist", 215);
  VEXOPlaylistRec song{record, nullptr};
  EXPECT_EQ(VEXOWriteMusicPlaylist(nullptr, Shared("empty.m3u").c_str()), 0);
  EXPECT_EQ(VEXOWriteMusicPlaylist(&song, Shared("one.m3u").c_str()), 0);
  EXPECT_EQ(ReadBytes(Shared("empty.m3u")), "#EXTM3U\n");
  EXPECT_EQ(ReadBytes(Shared("one.m3u")), "#EXTM3U\n#EXTINF:215,Artist - Title\n/m/a.mp3\n");
  EXPECT_EQ(ReadPaths(Shared("empty.m3u")), Texts{});
}

TEST_F(Writing, HappensInsideThePlaylistsFoldersOnly) {
  fs::create_directory(library() + "/elsewhere");
  fs::create_directory_symlink(library() + "/elsewhere", Shared("link"));
  fs::create_directory(Shared("sub"));
  const std::string before = library() + "/elsewhere";
  for (const std::string &path :
       {library() + "/a.m3u", Shared("../a.m3u"), Shared("../../a.m3u"), Shared("link/a.m3u"),
        Shared("none/a.m3u"), Shared("."), Shared(".."), Shared(""), std::string("a.m3u"),
        std::string(), std::string("/"), std::string(system::kTemporary) + "/a.m3u",
        Preferences("bob") + "/a.m3u", Personal("bob") + "/playlists/a.m3u",
        Shared(std::string(300, 'n')), Shared("\n/../../x"),
        std::string("/") + std::string(5000, 'p')}) {
    EXPECT_EQ(VEXOWriteMusicPlaylist(nullptr, path.c_str()), -1) << path;
    EXPECT_EQ(VEXOPersonalPlaylistRemoveMissing(path.c_str()), -1) << path;
  }
  EXPECT_EQ(VEXOWriteMusicPlaylist(nullptr, nullptr), -1);
  EXPECT_EQ(VEXOPersonalPlaylistRemoveSongs(nullptr, "0"), -1);
  EXPECT_EQ(VEXOWriteMusicPlaylist(nullptr, Shared("sub/a.m3u").c_str()), 0);
  EXPECT_EQ(Names(library()), (std::set<std::string>{"elsewhere", "playlists", "song.mp3"}));
  EXPECT_TRUE(fs::is_empty(before));
}

TEST_F(Writing, DoesNotBringBackAFileThatWasRenamedMeanwhile) {
  const std::string path = Shared("a.m3u");
  ASSERT_EQ(VEXOWriteMusicPlaylist(nullptr, path.c_str()), 0);
  fs::rename(path, Shared("b.m3u"));
  EXPECT_EQ(VEXOWriteMusicPlaylist(MakeSongs({"/a"}).get(), path.c_str()), -1);
  EXPECT_EQ(Names(library() + "/playlists"), std::set<std::string>{"b.m3u"});
}

TEST_F(Writing, DoesNotBringBackAFileThatWasRenamedWithItsRow) {
  AddShared("a.m3u", M3u({"/a"}));
  fs::rename(Shared("a.m3u"), Shared("b.m3u"));
  const auto record = MakeRecord(Shared("b.m3u"), "b");
  ASSERT_EQ(VEXOPlaylistDBUpdate("shared", 0, &record, Shared("a.m3u").c_str()), 0);
  EXPECT_EQ(VEXOWriteMusicPlaylist(MakeSongs({"/new"}).get(), Shared("a.m3u").c_str()), -1);
  EXPECT_EQ(Names(library() + "/playlists"), std::set<std::string>{"b.m3u"});
  EXPECT_EQ(ReadBytes(Shared("b.m3u")), M3u({"/a"}));
}

TEST_F(Writing, GivesARowItsLostFileBack) {
  AddShared("a.m3u", "");
  fs::remove(Shared("a.m3u"));
  EXPECT_EQ(VEXOWriteMusicPlaylist(MakeSongs({"/new"}).get(), Shared("a.m3u").c_str()), 0);
  EXPECT_EQ(ReadBytes(Shared("a.m3u")), M3u({"/new"}));
}

TEST_F(Writing, KilledAnywhereLeavesNoFileOrAnEmptyOrTheWholeList) {
  const std::string path = Shared("a.m3u");
  std::set<std::string> seen;
  for (int step = 1, killed = 1; killed != 0; ++step) {
    fs::remove(path);
    const auto add = [&] {
      VEXOWriteMusicPlaylist(nullptr, path.c_str());
      VEXOWriteMusicPlaylist(MakeSongs({"/a", "/b"}).get(), path.c_str());
    };
    killed = faults::KilledAt(step, add) ? 1 : 0;
    seen.insert(fs::exists(path) ? ReadBytes(path) : "none");
  }
  EXPECT_EQ(seen, (std::set<std::string>{"none", "", M3u({}), M3u({"/a", "/b"})}));
}

} // namespace
} // namespace vexo::playlists
