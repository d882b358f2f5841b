// The rows of playlists, and the edges of the folders that hold them.
#include "contract/playlists/playlists_test.h"
#include "files/file_identity.h"
#include "files/temporary_file.h"
#include "index/sqlite_index.h"
#include "playlists/playlist_folders.h"
#include "support/faults.h"

namespace vexo::playlists {
namespace {

class Rows : public Playlists {
protected:
  static std::string PathOf(const std::string &id, const char *library = "shared", int user = 0) {
    char path[4096] = "";
    return VEXOPlaylistPathGet(library, user, std::stoi(id), path, sizeof path) == 0 ? path : "";
  }
  static int Save(const std::string &path) {
    const auto record = MakeRecord(path, "title");
    return VEXOPlaylistDBSave(&record);
  }
  /// The ids of the rows found, in their order.
  static Texts Find(const std::string &ids) {
    VEXOPlaylistRow *list = nullptr;
    if (VEXOPlayListListGetByID("shared", 0, &list, ids.c_str()) != 0) {
      return {"none"};
    }
    Texts found;
    for (const VEXOPlaylistRow *row = list; row != nullptr; row = row->next) {
      found.push_back(std::to_string(row->info.id));
    }
    VEXOPlayListFree(list);
    return found;
  }
  static int Unlink(const std::string &ids) {
    VEXOPlaylistRow *list = nullptr;
    EXPECT_EQ(VEXOPlayListListGetByID("shared", 0, &list, ids.c_str()), 0);
    const int result = VEXOPlayListUnlink("shared", list);
    VEXOPlayListFree(list);
    return result;
  }
};

TEST_F(Rows, AreSavedAndFound) {
  auto record = MakeRecord(Shared("a.m3u"), "a");
  host::CopyText(record.album, "playlists");
  host::CopyText(record.changeTime, "Thu Jan  1 00:00:00 1970\n");
  record.size = 5;
  ASSERT_EQ(VEXOPlaylistDBSave(&record), 0);
  const std::string id = IdOf("shared", 0, Shared("a.m3u"));
  EXPECT_GT(std::stoi(id), 0);
  EXPECT_EQ(PathOf(id), Shared("a.m3u"));
  VEXOPlaylistRow *list = nullptr;
  ASSERT_EQ(VEXOPlayListListGetByID("shared", alice_, &list, id.c_str()), 0);
  EXPECT_STREQ(list->info.title, "a");
  EXPECT_STREQ(list->info.album, "playlists");
  EXPECT_STREQ(list->info.changeTime, "Thu Jan  1 00:00:00 1970\n");
  EXPECT_EQ(list->info.size, 5U);
  EXPECT_EQ(list->userId, 0);
  char title[16] = "";
  EXPECT_EQ(VEXOPlaylistTitleGet(id.c_str(), title, sizeof title, list), 0);
  EXPECT_STREQ(title, "a");
  EXPECT_EQ(VEXOPlaylistTitleGet("99", title, sizeof title, list), -1);
  EXPECT_EQ(VEXOPlaylistTitleGet("x", title, sizeof title, list), -1);
  EXPECT_EQ(VEXOPlaylistTitleGet(id.c_str(), title, sizeof title, nullptr), -1);
  EXPECT_EQ(VEXOPlaylistTitleGet(id.c_str(), title, 1, list), -1);
  VEXOPlayListFree(list);
}

TEST_F(Rows, OfAPersonalLibraryAreItsUsersOwn) {
  const std::string path = Personal("alice") + "/playlists/a.m3u";
  auto record = MakeRecord(path, "mine");
  ASSERT_EQ(PersonalLibraryInfoDBSave(3, &record, alice_), 0);
  EXPECT_NE(IdOf("personal", alice_, path), "");
  EXPECT_EQ(IdOf("personal", alice_ + 1, path), "");
  EXPECT_EQ(IdOf("shared", 0, path), "");
  char title[16] = "";
  EXPECT_EQ(VEXOPlaylistTitleGetByPath(path.c_str(), title, sizeof title, alice_), 0);
  EXPECT_STREQ(title, "mine");
  EXPECT_EQ(VEXOPlaylistTitleGetByPath(path.c_str(), title, sizeof title, alice_ + 1), -1);
  EXPECT_EQ(PersonalLibraryInfoDBSave(2, &record, alice_), -1);
  EXPECT_EQ(PersonalLibraryInfoDBSave(3, &record, 0), -1);
}

TEST_F(Rows, ArePathsOnce) {
  EXPECT_EQ(Save(Shared("a.m3u")), 0);
  EXPECT_EQ(Save(Shared("a.m3u")), -1);
}

TEST_F(Rows, GiveWayToANewFileWhenTheirsWasRemovedByHand) {
  ASSERT_EQ(VEXOWriteMusicPlaylist(nullptr, Shared("a.m3u").c_str()), 0);
  ASSERT_EQ(Save(Shared("a.m3u")), 0);
  const std::string old_id = IdOf("shared", 0, Shared("a.m3u"));
  fs::remove(Shared("a.m3u"));
  ASSERT_EQ(VEXOWriteMusicPlaylist(nullptr, Shared("a.m3u").c_str()), 0);
  EXPECT_EQ(Save(Shared("a.m3u")), 0);
  EXPECT_NE(IdOf("shared", 0, Shared("a.m3u")), old_id) << "the old playlist's id is not reused";
  EXPECT_EQ(PathOf(old_id), "");
  EXPECT_EQ(Save(Shared("a.m3u")), -1) << "a new file gets one row";
}

TEST_F(Rows, FollowAFileThatWasRenamedByHandWhenANewOneTakesItsName) {
  const auto songs = MakeSongs({"http://a/1"});
  const std::string id = AddShared("a.m3u", "#EXTM3U\nhttp://a/old\n");
  fs::rename(Shared("a.m3u"), Shared("by hand.m3u"));
  ASSERT_EQ(VEXOWriteMusicPlaylist(nullptr, Shared("a.m3u").c_str()), 0);
  ASSERT_EQ(Save(Shared("a.m3u")), 0);
  ASSERT_EQ(VEXOWriteMusicPlaylist(songs.get(), Shared("a.m3u").c_str()), 0);
  EXPECT_EQ(PathOf(id), Shared("by hand.m3u"));
  EXPECT_EQ(index::ProcessIndex().PlaylistByPath(0, Shared("by hand.m3u"))->title, "by hand");
  EXPECT_NE(IdOf("shared", 0, Shared("a.m3u")), id);
  EXPECT_EQ(ReadPaths(Shared("by hand.m3u")), Texts{"http://a/old"});
}

TEST_F(Rows, OutsideOfTheirLibraryAreRefused) {
  fs::create_directory(library() + "/elsewhere");
  fs::create_directory_symlink(library() + "/elsewhere", Shared("link"));
  fs::create_directory(Shared("sub"));
  const std::string inside = AddShared("in.m3u", "");
  EXPECT_EQ(Save(Shared("sub/a.m3u")), 0) << "a folder below it is inside";
  for (const std::string &path :
       {library() + "/a.m3u", Shared("../a.m3u"), Shared("link/a.m3u"), Shared("none/a.m3u"),
        Shared(".."), Shared("."), Shared(""), Preferences("bob") + "/playlists/a.m3u",
        Personal("alice") + "/playlists/a.m3u", std::string("a.m3u"), std::string(),
        std::string("/etc/passwd"), library() + "/playlists-2/a.m3u"}) {
    EXPECT_EQ(Save(path), -1) << path;
    const auto record = MakeRecord(path, "moved");
    EXPECT_EQ(VEXOPlaylistDBUpdate("shared", 0, &record, Shared("in.m3u").c_str()), -1) << path;
    EXPECT_EQ(VEXOPlaylistDBUpdate("shared", 0, &record, std::stoi(inside)), -1) << path;
  }
  EXPECT_EQ(PathOf(inside), Shared("in.m3u"));
}

TEST_F(Rows, AreMovedByTheirOldPath) {
  const std::string id = AddShared("a.m3u", "");
  fs::rename(Shared("a.m3u"), Shared("b.m3u"));
  const auto record = MakeRecord(Shared("b.m3u"), "b");
  EXPECT_EQ(VEXOPlaylistDBUpdate("shared", 0, &record, Shared("a.m3u").c_str()), 0);
  EXPECT_EQ(PathOf(id), Shared("b.m3u"));
  EXPECT_EQ(VEXOPlaylistDBUpdate("shared", 0, &record, Shared("a.m3u").c_str()), -1);
}

TEST_F(Rows, AreNotMovedToATakenPath) {
  const std::string id = AddShared("a.m3u", "");
  AddShared("b.m3u", "");
  const auto record = MakeRecord(Shared("b.m3u"), "b");
  EXPECT_EQ(VEXOPlaylistDBUpdate("shared", 0, &record, Shared("a.m3u").c_str()), -1);
  EXPECT_EQ(PathOf(id), Shared("a.m3u"));
}

TEST_F(Rows, AreRefreshedByTheirId) {
  const std::string id = AddShared("a.m3u", "");
  WriteBytes(Shared("a.m3u"), "12345");
  auto record = MakeRecord(Shared("a.m3u"), "another title");
  record.size = 42;
  EXPECT_EQ(VEXOPlaylistDBUpdate("shared", 0, &record, std::stoi(id)), 0);
  const auto row = index::ProcessIndex().PlaylistByPath(0, Shared("a.m3u"));
  EXPECT_EQ(row->title, "another title");
  EXPECT_EQ(row->size_bytes, 5U) << "of the file as it is, not as it was when it was looked at";
  EXPECT_EQ(VEXOPlaylistDBUpdate("shared", 0, &record, 4711), -1);
}

TEST_F(Rows, ARefreshDoesNotUndoARename) {
  const std::string id = AddShared("a.m3u", "123");
  const auto stale = MakeRecord(Shared("a.m3u"), "a");
  fs::rename(Shared("a.m3u"), Shared("b.m3u"));
  const auto renamed = MakeRecord(Shared("b.m3u"), "b");
  ASSERT_EQ(VEXOPlaylistDBUpdate("shared", 0, &renamed, Shared("a.m3u").c_str()), 0);
  EXPECT_EQ(VEXOPlaylistDBUpdate("shared", 0, &stale, std::stoi(id)), 0);
  const auto row = index::ProcessIndex().PlaylistByPath(0, Shared("b.m3u"));
  ASSERT_TRUE(row);
  EXPECT_EQ(row->title, "b");
  EXPECT_EQ(row->size_bytes, 3U);
}

TEST_F(Rows, WithoutAFileTakeThePathOfARefresh) {
  const std::string id = AddShared("a.m3u", "123");
  fs::rename(Shared("a.m3u"), Shared("b.m3u"));
  const auto record = MakeRecord(Shared("b.m3u"), "b");
  EXPECT_EQ(VEXOPlaylistDBUpdate("shared", 0, &record, std::stoi(id)), 0);
  EXPECT_EQ(PathOf(id), Shared("b.m3u"));
}

/// Whether the row tells of its file as it is.
::testing::AssertionResult IsUpToDate(const std::string &path) {
  const auto row = index::ProcessIndex().PlaylistByPath(0, path);
  struct stat facts {};
  if (!row || stat(path.c_str(), &facts) != 0) {
    return ::testing::AssertionFailure() << "no row or no file";
  }
  if (row->file != files::IdentityOf(path)) {
    return ::testing::AssertionFailure() << "another file";
  }
  return row->size_bytes == static_cast<uint64_t>(facts.st_size) &&
                 row->modification_time == ctime(&facts.st_mtime)
             ? ::testing::AssertionSuccess()
             : ::testing::AssertionFailure() << "another size or time";
}

TEST_F(Rows, TellOfTheirFilesAfterEachWrite) {
  const std::string path = Shared("a.m3u");
  const host::SongList songs = MakeSongs({library() + "/song.mp3", "http://a/1"});
  const host::SongList others = MakeSongs({"http://a/2"});
  ASSERT_EQ(VEXOWriteMusicPlaylist(nullptr, path.c_str()), 0);
  ASSERT_EQ(Save(path), 0);
  const std::string id = IdOf("shared", 0, path);
  ASSERT_EQ(VEXOWriteMusicPlaylist(songs.get(), path.c_str()), 0);
  EXPECT_TRUE(IsUpToDate(path)) << "new";
  ASSERT_EQ(VEXOWriteMusicPlaylist(others.get(), path.c_str()), 0);
  EXPECT_TRUE(IsUpToDate(path)) << "overwritten";
  const auto record = MakeRecord(path, "a");
  ASSERT_EQ(VEXOPlaylistAppendSongs("shared", 0, id.c_str(), songs.get(), 2), 0);
  ASSERT_EQ(VEXOPlaylistDBUpdate("shared", 0, &record, std::stoi(id)), 0);
  EXPECT_TRUE(IsUpToDate(path)) << "edited";
  fs::rename(path, Shared("b.m3u"));
  const auto renamed = MakeRecord(Shared("b.m3u"), "b");
  ASSERT_EQ(VEXOPlaylistDBUpdate("shared", 0, &renamed, path.c_str()), 0);
  EXPECT_EQ(index::ProcessIndex().PlaylistByPath(0, Shared("b.m3u"))->file,
            files::IdentityOf(Shared("b.m3u")))
      << "renamed";
}

TEST_F(Rows, TellOfTheirFilesWhenTheyAreFoundAfterTheWrite) {
  const std::string id = AddShared("a.m3u", "");
  const host::SongList songs = MakeSongs({"http://a/1"});
  ASSERT_EQ(VEXOWriteMusicPlaylist(songs.get(), Shared("a.m3u").c_str()), 0);
  EXPECT_EQ(IdOf("shared", 0, Shared("a.m3u")), id);
  EXPECT_TRUE(IsUpToDate(Shared("a.m3u")));
}

TEST_F(Rows, AreFoundByLists) {
  const std::string a = AddShared("a.m3u", ""), b = AddShared("b.m3u", "");
  EXPECT_EQ(Find(a), Texts{a});
  EXPECT_EQ(Find(b + "," + a), (Texts{b, a}));
  EXPECT_EQ(Find(a + ",4711," + a + ",x"), Texts{a}) << "others are left out";
  for (const char *ids : {"", "4711", "x", "0", "-1", ",", "99999999999"}) {
    EXPECT_EQ(Find(ids), Texts{"none"}) << ids;
  }
}

/// Ends after it has written, and before it says so.
class EndingIndex : public index::SqliteIndex {
public:
  using SqliteIndex::SqliteIndex;
  using SqliteIndex::UpdatePlaylist;
  bool UpdatePlaylist(int owner, const std::string &old_path,
                      const index::Playlist &values) override {
    SqliteIndex::UpdatePlaylist(owner, old_path, values);
    throw index::IndexError("it ended");
  }
  bool RemovePlaylist(int owner, int32_t id) override {
    SqliteIndex::RemovePlaylist(owner, id);
    throw index::IndexError("it ended");
  }
};

TEST_F(Rows, AreWrittenEvenIfTheServerEndsBeforeItSaysSo) {
  const std::string a = AddShared("a.m3u", ""), b = AddShared("b.m3u", "");
  index::SetProcessIndex(std::make_unique<EndingIndex>(system::kIndexFile));
  fs::rename(Shared("a.m3u"), Shared("c.m3u"));
  const auto renamed = MakeRecord(Shared("c.m3u"), "c");
  EXPECT_EQ(VEXOPlaylistDBUpdate("shared", 0, &renamed, Shared("a.m3u").c_str()), 0);
  EXPECT_EQ(PathOf(a), Shared("c.m3u"));
  EXPECT_EQ(Unlink(b), 0);
  EXPECT_FALSE(fs::exists(Shared("b.m3u")));
}

TEST_F(Rows, TwentyThousandIdsAreAnOrdinaryList) {
  const std::string id = AddShared("a.m3u", "");
  std::string ids = id;
  for (int i = 0; i < 20000; ++i) {
    ids += "," + std::to_string(1000000 + i);
  }
  EXPECT_EQ(Find(ids), Texts{id});
}

TEST_F(Rows, AnswersThatDoNotFitAreFailures) {
  const std::string id = AddShared("a.m3u", "");
  char buffer[4] = "xyz";
  EXPECT_EQ(VEXOPlaylistPathGet("shared", 0, std::stoi(id), buffer, sizeof buffer), -1);
  EXPECT_STREQ(buffer, "xyz");
  EXPECT_EQ(VEXOPlaylistPathGet("shared", 0, 4711, buffer, sizeof buffer), -1);
  EXPECT_EQ(VEXOPlaylistIDGet("shared", 0, Shared("a.m3u").c_str(), buffer, 1), -1);
  EXPECT_EQ(VEXOPlaylistIDGet("shared", 0, nullptr, buffer, sizeof buffer), -1);
  EXPECT_EQ(VEXOPlaylistIDGet("other", 0, Shared("a.m3u").c_str(), buffer, sizeof buffer), -1);
}

TEST_F(Rows, AreUnlinkedWithTheirFiles) {
  const std::string a = AddShared("a.m3u", ""), b = AddShared("b.m3u", ""),
                    c = AddShared("c.m3u", "");
  EXPECT_EQ(Unlink(a + "," + c), 0);
  EXPECT_EQ(Find(a + "," + b + "," + c), Texts{b});
  EXPECT_EQ(Names(library() + "/playlists"), std::set<std::string>{"b.m3u"});
}

TEST_F(Rows, WithoutAFileAreUnlinkedToo) {
  const std::string id = AddShared("a.m3u", "");
  fs::remove(Shared("a.m3u"));
  EXPECT_EQ(Unlink(id), 0);
  EXPECT_EQ(Find(id), Texts{"none"});
}

TEST_F(Rows, UnlinkFollowsARename) {
  const std::string id = AddShared("a.m3u", "");
  VEXOPlaylistRow *list = nullptr;
  ASSERT_EQ(VEXOPlayListListGetByID("shared", 0, &list, id.c_str()), 0);
  fs::rename(Shared("a.m3u"), Shared("b.m3u"));
  const auto record = MakeRecord(Shared("b.m3u"), "b");
  ASSERT_EQ(VEXOPlaylistDBUpdate("shared", 0, &record, Shared("a.m3u").c_str()), 0);
  EXPECT_EQ(VEXOPlayListUnlink("shared", list), 0);
  VEXOPlayListFree(list);
  EXPECT_TRUE(Names(library() + "/playlists").empty());
}

TEST_F(Rows, AFailedUnlinkLeavesFileAndRow) {
  const std::string id = AddShared("a.m3u", "abc");
  for (const auto call : {faults::Call::kRename, faults::Call::kSync}) {
    const faults::Fault fault(call, 1, EIO);
    EXPECT_EQ(Unlink(id), -1);
    EXPECT_EQ(ReadBytes(Shared("a.m3u")), "abc");
    EXPECT_EQ(Find(id), Texts{id});
  }
}

TEST_F(Rows, WithALibraryThatIsNotThereStay) {
  const std::string id = AddShared("a.m3u", "");
  fs::rename(library(), library() + "-away");
  EXPECT_EQ(Unlink(id), -1);
  fs::rename(library() + "-away", library());
  EXPECT_EQ(Find(id), Texts{id});
  EXPECT_TRUE(fs::exists(Shared("a.m3u")));
}

TEST_F(Rows, UnlinkOfALinkLeavesWhatItNames) {
  WriteBytes(library() + "/victim", "victim");
  fs::create_symlink(library() + "/victim", Shared("a.m3u"));
  ASSERT_EQ(Save(Shared("a.m3u")), 0);
  EXPECT_EQ(Unlink(IdOf("shared", 0, Shared("a.m3u"))), 0);
  EXPECT_EQ(ReadBytes(library() + "/victim"), "victim");
}

TEST_F(Rows, UnlinkKilledAnywhereLeavesWhatCanBeMended) {
  for (int step = 1, killed = 1; killed != 0; ++step) {
    AddShared("a.m3u", "abc");
    index::SetProcessIndex(nullptr);
    const auto unlink = [&] { Unlink(IdOf("shared", 0, Shared("a.m3u"))); };
    killed = faults::KilledAt(step, unlink) ? 1 : 0;
    const bool has_row = !IdOf("shared", 0, Shared("a.m3u")).empty();
    const bool has_file = fs::exists(Shared("a.m3u"));
    EXPECT_TRUE(has_row || !has_file) << "a file without its row would come back";
    if (has_file) {
      EXPECT_EQ(ReadBytes(Shared("a.m3u")), "abc");
    }
    if (has_row) {
      Unlink(IdOf("shared", 0, Shared("a.m3u")));
    }
    for (const std::string &name : Names(library() + "/playlists")) {
      EXPECT_TRUE(files::IsTemporaryName(name)) << name;
    }
  }
}

TEST_F(Rows, EdgesOfARequestAreItsUsersOwn) {
  const std::string alices = Preferences("alice") + "/playlists/a.m3u";
  const std::string bobs = Preferences("bob") + "/playlists/b.m3u";
  EXPECT_NO_THROW(RequireInPlaylistsFolder(alices));
  EXPECT_NO_THROW(RequireInPlaylistsFolder(bobs));
  setenv("REMOTE_USER", "bob", 1);
  EXPECT_NO_THROW(RequireInPlaylistsFolder(bobs));
  EXPECT_NO_THROW(RequireInPlaylistsFolder(Shared("a.m3u")));
  EXPECT_THROW(RequireInPlaylistsFolder(alices), OutsideError);
  EXPECT_THROW(RequireInPlaylistsFolder(Personal("alice") + "/playlists/a.m3u"), OutsideError);
  EXPECT_THROW(RequireInPlaylistsFolder(Personal("bob") + "/playlists/a.m3u"), OutsideError)
      << "a library that is off";
  setenv("REMOTE_USER", "mallory", 1);
  EXPECT_THROW(RequireInPlaylistsFolder(bobs), OutsideError);
  unsetenv("REMOTE_USER");
}

} // namespace
} // namespace vexo::playlists
