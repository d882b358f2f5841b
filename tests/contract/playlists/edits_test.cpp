// Edits of playlists' songs, the same for those of a library and those of a preference folder.
#include "contract/playlists/playlists_test.h"
#include "files/file_io.h"
#include "playlists/playlist_text.h"
#include "playlists/write_playlist.h"
#include "support/faults.h"
#include <array>
#include <limits>
#include <sstream>

namespace vexo::playlists {
namespace {

enum class Storage { kShared, kPersonal, kPreferences };

/// A playlist "list.m3u" of one kind of storage, and the calls that edit it.
class Edits : public Playlists, public ::testing::WithParamInterface<Storage> {
protected:
  void SetUp() override {
    Playlists::SetUp();
    switch (GetParam()) {
    case Storage::kShared:
      path_ = Shared("list.m3u");
      id_ = AddShared("list.m3u", "");
      break;
    case Storage::kPersonal: {
      path_ = Personal("alice") + "/playlists/list.m3u";
      WriteBytes(path_, "");
      const auto record = MakeRecord(path_, "list");
      ASSERT_EQ(PersonalLibraryInfoDBSave(3, &record, alice_), 0);
      id_ = IdOf("personal", alice_, path_);
      break;
    }
    case Storage::kPreferences:
      path_ = Preferences("bob") + "/playlists/list.m3u";
      WriteBytes(path_, "");
    }
  }

  [[nodiscard]] const char *Kind() const {
    return GetParam() == Storage::kShared ? "shared" : "personal";
  }
  [[nodiscard]] bool HasRow() const { return GetParam() != Storage::kPreferences; }

  int Append(const Texts &paths, int count = 1000) const {
    const auto songs = MakeSongs(paths);
    return HasRow() ? VEXOPlaylistAppendSongs(Kind(), alice_, id_.c_str(), songs.get(), count)
                    : VEXOPersonalPlaylistAppendSongs(path_.c_str(), songs.get(), count);
  }
  int Update(const Texts &paths, long start, long limit) const {
    const auto songs = MakeSongs(paths);
    return HasRow()
               ? VEXOPlaylistUpdateSongs(Kind(), alice_, id_.c_str(), songs.get(), start, limit)
               : VEXOPersonalPlaylistUpdateSongs(path_.c_str(), songs.get(), start, limit);
  }
  int Remove(const char *positions) const {
    return HasRow() ? VEXOPlaylistRemoveSongs(Kind(), alice_, id_.c_str(), positions)
                    : VEXOPersonalPlaylistRemoveSongs(path_.c_str(), positions);
  }
  int RemoveMissing() const {
    return HasRow() ? VEXOPlaylistRemoveMissing(Kind(), alice_, id_.c_str())
                    : VEXOPersonalPlaylistRemoveMissing(path_.c_str());
  }
  /// The administrative log's lines about removed songs, without their times and codes.
  static Texts RemovedInLog() {
    Texts removed;
    std::istringstream log(ReadBytes(system::kAdminLog));
    for (std::string line; std::getline(log, line);) {
      removed.push_back(line.substr(line.rfind('\t') + 1));
    }
    return removed;
  }

  std::string path_, id_;
};

std::string NameOf(const ::testing::TestParamInfo<Storage> &test) {
  return std::array{"Shared", "Personal", "Preferences"}.at(static_cast<std::size_t>(test.param));
}

INSTANTIATE_TEST_SUITE_P(Storages, Edits,
                         ::testing::Values(Storage::kShared, Storage::kPersonal,
                                           Storage::kPreferences),
                         NameOf);

TEST_P(Edits, AppendPutsSongsBehindTheLast) {
  EXPECT_EQ(Append({"/a"}), 0);
  EXPECT_EQ(ReadBytes(path_), M3u({"/a"}));
  EXPECT_EQ(Append({"/b", "", "/c"}), 0);
  EXPECT_EQ(ReadBytes(path_), M3u({"/a", "/b", "/c"}));
}

TEST_P(Edits, AppendTakesAsManySongsAsItIsTold) {
  EXPECT_EQ(Append({"/a", "/b", "/c"}, 2), 0);
  EXPECT_EQ(ReadBytes(path_), M3u({"/a", "/b"}));
  EXPECT_EQ(Append({"/c"}, 0), 0);
  EXPECT_EQ(Append({}, 0), 0);
  EXPECT_EQ(Append({"/c"}, -1), -1);
  EXPECT_EQ(ReadBytes(path_), M3u({"/a", "/b"}));
}

TEST_P(Edits, UpdateReplacesAStretch) {
  struct Row {
    const char *description;
    long start, limit;
    Texts after;
  };
  const Row rows[] = {
      {"one song", 1, 1, {"/a", "/x", "/y", "/c"}},
      {"an insertion", 1, 0, {"/a", "/x", "/y", "/b", "/c"}},
      {"all", 0, 3, {"/x", "/y"}},
      {"a stretch beyond the end", 2, 100, {"/a", "/b", "/x", "/y"}},
      {"the longest stretch there is", 1, std::numeric_limits<long>::max(), {"/a", "/x", "/y"}},
      {"at the end", 3, 0, {"/a", "/b", "/c", "/x", "/y"}},
      {"at the end, with a length", 3, 5, {"/a", "/b", "/c", "/x", "/y"}},
  };
  for (const Row &row : rows) {
    WriteBytes(path_, M3u({"/a", "/b", "/c"}));
    EXPECT_EQ(Update({"/x", "/y"}, row.start, row.limit), 0) << row.description;
    EXPECT_EQ(ReadBytes(path_), M3u(row.after)) << row.description;
  }
}

TEST_P(Edits, UpdateOfWhatIsNoStretchFailsAndChangesNothing) {
  WriteBytes(path_, M3u({"/a", "/b"}));
  for (const auto &[start, limit] : {std::pair{3L, 0L},
                                     {-1L, 1L},
                                     {0L, -1L},
                                     {std::numeric_limits<long>::max(), 1L},
                                     {std::numeric_limits<long>::min(), 0L}}) {
    EXPECT_EQ(Update({"/x"}, start, limit), -1) << start << " " << limit;
  }
  EXPECT_EQ(ReadBytes(path_), M3u({"/a", "/b"}));
}

TEST_P(Edits, UpdateWithoutSongsRemovesTheStretch) {
  WriteBytes(path_, M3u({"/a", "/b", "/c"}));
  EXPECT_EQ(Update({}, 0, 2), 0);
  EXPECT_EQ(ReadBytes(path_), M3u({"/c"}));
}

TEST_P(Edits, RemoveTakesPositionsInAnyOrderAndOnce) {
  WriteBytes(path_, M3u({"/a", "/b", "/c", "/d"}));
  EXPECT_EQ(Remove("3,0,3"), 0);
  EXPECT_EQ(ReadBytes(path_), M3u({"/b", "/c"}));
}

TEST_P(Edits, RemoveOfWhatIsNoPositionFailsAndChangesNothing) {
  WriteBytes(path_, M3u({"/a", "/b"}));
  for (const char *positions :
       {"2", "0,2", "-1", "", "0,", "0,,1", " 0", "x", "0x", "1e0", "999999999999999999999999"}) {
    EXPECT_EQ(Remove(positions), -1) << positions;
  }
  EXPECT_EQ(Remove(nullptr), -1);
  EXPECT_EQ(ReadBytes(path_), M3u({"/a", "/b"}));
}

TEST_P(Edits, ASongWithALineBreakInItsPathFailsTheWholeCall) {
  WriteBytes(path_, M3u({"/a"}));
  EXPECT_EQ(Append({"/b", "/c\n/etc/passwd"}), -1);
  EXPECT_EQ(Update({"/b", "/c\r"}, 0, 1), -1);
  EXPECT_EQ(VEXOWriteMusicPlaylist(MakeSongs({"\n"}).get(), path_.c_str()), -1);
  EXPECT_EQ(ReadBytes(path_), M3u({"/a"}));
}

TEST_P(Edits, WhatIsNotUnderstoodSurvives) {
  const std::string head = "\xEF\xBB\xBF#EXTM3U\r\n#PLAYLIST:Mine\r\n#EXTINF:1,Caf\xE9\r\n/a\r\n";
  WriteBytes(path_, head + "# note\r\n\r\n/b\r\n#EXTVLCOPT:x");
  EXPECT_EQ(Remove("1"), 0);
  EXPECT_EQ(Append({"/c"}), 0);
  EXPECT_EQ(Update({"/d"}, 1, 0), 0);
  EXPECT_EQ(ReadBytes(path_), head + "# note\r\n\r\n#EXTVLCOPT:x\n/d\n/c\n");
}

TEST_P(Edits, KeepTheModeOfTheFile) {
  fs::permissions(path_, fs::perms(0604));
  EXPECT_EQ(Append({"/a"}), 0);
  EXPECT_EQ(fs::status(path_).permissions(), fs::perms(0604));
}

TEST_P(Edits, OfAFileThatIsNotThereFailAndMakeNone) {
  fs::remove(path_);
  EXPECT_EQ(Append({"/a"}), -1);
  EXPECT_FALSE(fs::exists(path_));
}

TEST_P(Edits, NeverGoThroughALink) {
  WriteBytes(library() + "/victim", "victim");
  fs::remove(path_);
  fs::create_symlink(library() + "/victim", path_);
  EXPECT_EQ(Append({"/a"}), -1);
  EXPECT_EQ(Remove("0"), -1);
  EXPECT_EQ(VEXOWriteMusicPlaylist(nullptr, path_.c_str()), -1);
  EXPECT_EQ(ReadBytes(library() + "/victim"), "victim");
}

TEST_P(Edits, KilledAnywhereLeaveTheOldOrTheNewList) {
  const Texts before = {"/a", "/b"};
  std::set<std::string> seen;
  for (int step = 1, killed = 1; killed != 0; ++step) {
    WriteBytes(path_, M3u(before));
    index::SetProcessIndex(nullptr);
    killed = faults::KilledAt(step, [&] { Update({"/x"}, 0, 1); }) ? 1 : 0;
    seen.insert(ReadBytes(path_));
  }
  EXPECT_EQ(seen, (std::set<std::string>{M3u(before), M3u({"/x", "/b"})}));
}

TEST_P(Edits, ThatFailLeaveTheOldListAndNoFile) {
  const std::string folder = fs::path(path_).parent_path();
  for (const auto call :
       {faults::Call::kWrite, faults::Call::kSync, faults::Call::kRename, faults::Call::kLock}) {
    WriteBytes(path_, M3u({"/a"}));
    const faults::Fault fault(call, 1, ENOSPC);
    EXPECT_EQ(Append({"/b"}), -1);
    EXPECT_EQ(ReadBytes(path_), M3u({"/a"}));
    EXPECT_EQ(Names(folder), std::set<std::string>{"list.m3u"});
  }
}

TEST_P(Edits, RemoveMissingDropsSongsThatAreCertainlyGone) {
  const std::string root = GetParam() == Storage::kPersonal ? Personal("alice") : library();
  fs::create_directory(root + "/Album");
  WriteBytes(root + "/Album/there.mp3", "");
  const Texts gone = {root + "/gone.mp3", root + "/Album/gone.mp3", root + "/No Album/gone.mp3",
                      root + "/Album/there.mp3/no folder.mp3", "Album/gone too.mp3"};
  const Texts there = {root + "/Album/there.mp3", library() + "/song.mp3", "http://radio/1",
                       "Album/there.mp3"};
  WriteBytes(path_, M3u({"#EXTINF:1,Gone", gone[0], "# note", there[0], gone[1], there[1], gone[2],
                         gone[3], there[2], gone[4], there[3]}));
  EXPECT_EQ(RemoveMissing(), 0);
  EXPECT_EQ(ReadBytes(path_), M3u({"# note", there[0], there[1], there[2], there[3]}));
  EXPECT_EQ(RemovedInLog(), gone);
}

TEST_P(Edits, RemoveMissingWithNothingMissingWritesNothing) {
  WriteBytes(path_, M3u({library() + "/song.mp3"}));
  const auto before = fs::last_write_time(path_);
  EXPECT_EQ(RemoveMissing(), 0);
  EXPECT_EQ(fs::last_write_time(path_), before);
  EXPECT_EQ(RemovedInLog(), Texts{});
}

TEST_P(Edits, RemoveMissingKeepsWhatMayBeThere) {
  const std::string loop = library() + "/loop", away = library() + "/Disk 2";
  fs::create_symlink("loop", loop);
  fs::create_symlink("/nowhere/disk2", away);
  fs::create_symlink("/nowhere/song.mp3", library() + "/linked.mp3");
  fs::create_directory_symlink(DEVICE_ROOT "/tmp", library() + "/Disk 3");
  const std::string content =
      M3u({loop + "/a.mp3", away + "/a.mp3", library() + "/linked.mp3", library() + "/Disk 3/a.mp3",
           library() + "/" + std::string(300, 'n'), library() + "/../elsewhere/a.mp3",
           "/no/library/a.mp3", "http://radio/gone.mp3"});
  WriteBytes(path_, content);
  EXPECT_EQ(RemoveMissing(), 0);
  EXPECT_EQ(ReadBytes(path_), content);
  EXPECT_EQ(RemovedInLog(), Texts{});
}

TEST_P(Edits, RemoveMissingReadsEntriesInEveryWay) {
  const std::string root = GetParam() == Storage::kPersonal ? Personal("alice") : library();
  fs::create_directory(root + "/Album");
  WriteBytes(root + "/Album/there.mp3", "");
  const Texts there = {"Album\\there.mp3", "file://" + root + "/Album/%74here.mp3"};
  const Texts gone = {"Album\\gone.mp3", "file://" + root + "/Album/gone%21.mp3"};
  const Texts unknown = {"C:\\Music\\a.mp3",    "D:/a.mp3",
                         "\\\\server\\a.mp3",   "..\\..\\a.mp3",
                         "file://server/a.mp3", "file:///nowhere/a.mp3"};
  Texts all = there;
  all.insert(all.end(), gone.begin(), gone.end());
  all.insert(all.end(), unknown.begin(), unknown.end());
  WriteBytes(path_, M3u(all));
  EXPECT_EQ(RemoveMissing(), 0);
  all.erase(all.begin() + 2, all.begin() + 4);
  EXPECT_EQ(ReadBytes(path_), M3u(all));
  EXPECT_EQ(RemovedInLog(), (Texts{R"(Album\\gone.mp3)", gone[1]}));
}

TEST_P(Edits, RemoveMissingTellsNothingOfOtherFolders) {
  const std::string there = std::string(system::kTemporary) + "/there.mp3";
  WriteBytes(there, "");
  AddUser("carol", true);
  WriteBytes(Personal("carol") + "/there.mp3", "");
  fs::create_directory_symlink(system::kTemporary, library() + "/link");
  const std::string content =
      M3u({there, std::string(system::kTemporary) + "/gone.mp3", "../../tmp/there.mp3",
           "../../tmp/gone.mp3", library() + "/link/there.mp3", library() + "/link/gone.mp3",
           Personal("carol") + "/there.mp3", Personal("carol") + "/gone.mp3", "/etc/passwd",
           "/etc/gone"});
  WriteBytes(path_, content);
  setenv("REMOTE_USER", GetParam() == Storage::kPreferences ? "bob" : "alice", 1);
  EXPECT_EQ(RemoveMissing(), 0);
  unsetenv("REMOTE_USER");
  EXPECT_EQ(ReadBytes(path_), content);
}

TEST_P(Edits, KeepTheFormatOfTheFile) {
  WriteBytes(path_, "[playlist]\nFile1=/a\nX=1\nFile2=/b\nNumberOfEntries=2\n");
  EXPECT_EQ(Append({"/c"}), 0);
  EXPECT_EQ(Update({"/d"}, 0, 1), 0);
  EXPECT_EQ(Remove("1"), 0);
  EXPECT_EQ(ReadBytes(path_), "[playlist]\nFile1=/d\nX=1\nFile2=/c\nNumberOfEntries=2\n");
  EXPECT_EQ(VEXOWriteMusicPlaylist(MakeSongs({"/e"}).get(), path_.c_str()), 0);
  EXPECT_EQ(ReadBytes(path_), "[playlist]\nFile1=/e\nX=1\nNumberOfEntries=1\n");
  WriteBytes(path_, "[playlist]\nFile1=" + library() + "/gone.mp3\nFile2=/c\n");
  EXPECT_EQ(RemoveMissing(), 0);
  EXPECT_EQ(ReadBytes(path_), "[playlist]\nFile1=/c\nNumberOfEntries=1\n");
}

TEST_P(Edits, OfUtf16MakeItUtf8) {
  const std::string utf16("\xFF\xFE/\0a\0\r\0\n\0/\0\xE9\0\n\0", 16);
  WriteBytes(path_, utf16);
  EXPECT_EQ(Append({}, 0), 0);
  EXPECT_EQ(ReadBytes(path_), utf16) << "nothing was edited";
  EXPECT_EQ(Append({"/b"}), 0);
  EXPECT_EQ(ReadBytes(path_), "/a\r\n/\xC3\xA9\n/b\n");
}

TEST_P(Edits, OfWhatIsNoPlaylistFailAndWritingReplacesIt) {
  std::string too_many;
  for (std::size_t i = 0; i <= kMaxEntries; ++i) {
    too_many += "/a\n";
  }
  for (const std::string &bytes : {std::string("#EXTM3U\n\0/a\n", 12), too_many,
                                   std::string("\xFF\xFE/\0a"), std::string(100, '\0')}) {
    WriteBytes(path_, bytes);
    EXPECT_EQ(Append({"/b"}), -1);
    EXPECT_EQ(Update({"/b"}, 0, 1), -1);
    EXPECT_EQ(Remove("0"), -1);
    EXPECT_EQ(RemoveMissing(), -1);
    EXPECT_EQ(ReadBytes(path_), bytes);
    EXPECT_EQ(VEXOWriteMusicPlaylist(MakeSongs({"/c"}).get(), path_.c_str()), 0);
    EXPECT_EQ(ReadBytes(path_), M3u({"/c"}));
  }
}

TEST_P(Edits, OfAFileThatIsTooLargeFailAndWritingReplacesIt) {
  fs::resize_file(path_, files::kMaxFileBytes + 1);
  EXPECT_EQ(Append({"/b"}), -1);
  EXPECT_EQ(RemoveMissing(), -1);
  EXPECT_EQ(fs::file_size(path_), files::kMaxFileBytes + 1);
  EXPECT_EQ(VEXOWriteMusicPlaylist(MakeSongs({"/c"}).get(), path_.c_str()), 0);
  EXPECT_EQ(ReadBytes(path_), M3u({"/c"}));
  fs::resize_file(path_, files::kMaxFileBytes + 1);
  EXPECT_EQ(VEXOWriteMusicPlaylist(nullptr, path_.c_str()), 0);
  EXPECT_TRUE(FinishWriting());
  EXPECT_EQ(ReadBytes(path_), M3u({}));
}

TEST_P(Edits, NeverMakeAListThatIsTooLongToRead) {
  const std::string full = M3u(Texts(kMaxEntries, "/a"));
  WriteBytes(path_, full);
  EXPECT_EQ(Append({"/b"}), -1);
  EXPECT_EQ(Update({"/b"}, 7, 0), -1);
  EXPECT_EQ(Update({"/b", "/c"}, 7, 1), -1);
  EXPECT_EQ(VEXOWriteMusicPlaylist(MakeSongs(Texts(kMaxEntries + 1, "/b")).get(), path_.c_str()),
            -1);
  EXPECT_EQ(ReadBytes(path_), full);
  EXPECT_EQ(Update({"/b"}, 0, 2), 0);
  EXPECT_EQ(ReadBytes(path_).substr(0, 14), "#EXTM3U\n/b\n/a\n");
}

TEST_P(Edits, RemoveMissingOfALibraryThatIsNotMountedFailsAndChangesNothing) {
  // Another library holds the songs, so that the playlist itself stays in reach.
  const std::string root =
      GetParam() == Storage::kShared ? Personal("alice") : std::string(library());
  fs::rename(root, root + "-away");
  const std::string content = M3u({root + "/gone.mp3"});
  WriteBytes(path_, content);
  EXPECT_EQ(RemoveMissing(), -1) << "not there";
  fs::create_directory(root);
  EXPECT_EQ(RemoveMissing(), -1) << "empty";
  EXPECT_EQ(ReadBytes(path_), content);
  EXPECT_EQ(RemovedInLog(), Texts{});
  fs::remove(root);
  fs::rename(root + "-away", root);
}

TEST_P(Edits, RemoveMissingWithoutASharedLibraryFails) {
  fs::remove(system::kMusicLink);
  WriteBytes(path_, M3u({library() + "/gone.mp3"}));
  EXPECT_EQ(RemoveMissing(), -1);
  EXPECT_EQ(ReadBytes(path_), M3u({library() + "/gone.mp3"}));
}

TEST_P(Edits, WritingReplacesTheSongsAndKeepsTheRest) {
  WriteBytes(path_, M3u({"# note", "#EXTINF:1,A", "/a", "/b"}));
  EXPECT_EQ(VEXOWriteMusicPlaylist(MakeSongs({"/c"}).get(), path_.c_str()), 0);
  EXPECT_EQ(ReadBytes(path_), M3u({"# note", "/c"}));
  EXPECT_EQ(VEXOWriteMusicPlaylist(nullptr, path_.c_str()), 0);
  EXPECT_TRUE(FinishWriting());
  EXPECT_EQ(ReadBytes(path_), M3u({"# note"}));
}

using Library = Playlists;

TEST_F(Library, EditsNeedAnIdThatIsThere) {
  const auto songs = MakeSongs({"/a"});
  for (const char *id : {"", "0", "-1", "x", "1x", " 1", "4711", "99999999999", "../1"}) {
    EXPECT_EQ(VEXOPlaylistAppendSongs("shared", 0, id, songs.get(), 1), -1) << id;
  }
  EXPECT_EQ(VEXOPlaylistAppendSongs("shared", 0, nullptr, songs.get(), 1), -1);
  EXPECT_EQ(VEXOPlaylistAppendSongs("other", 0, "1", songs.get(), 1), -1);
  EXPECT_EQ(VEXOPlaylistAppendSongs(nullptr, 0, "1", songs.get(), 1), -1);
}

TEST_F(Library, AnEditFollowsARenameThatComesBetween) {
  const std::string id = AddShared("a.m3u", M3u({"/a"}));
  faults::BeforeNextRename([] {
    fs::rename(Shared("a.m3u"), Shared("b.m3u"));
    const auto record = MakeRecord(Shared("b.m3u"), "b");
    EXPECT_EQ(VEXOPlaylistDBUpdate("shared", 0, &record, Shared("a.m3u").c_str()), 0);
  });
  EXPECT_EQ(VEXOPlaylistAppendSongs("shared", 0, id.c_str(), MakeSongs({"/b"}).get(), 1), 0);
  EXPECT_EQ(ReadBytes(Shared("b.m3u")), M3u({"/a", "/b"}));
  EXPECT_EQ(Names(library() + "/playlists"), std::set<std::string>{"b.m3u"});
}

TEST_F(Library, AnEditNeverReachesANewPlaylistOfTheOldName) {
  const std::string id = AddShared("a.m3u", M3u({"/a"}));
  faults::BeforeNextRename([] {
    fs::rename(Shared("a.m3u"), Shared("b.m3u"));
    const auto record = MakeRecord(Shared("b.m3u"), "b");
    EXPECT_EQ(VEXOPlaylistDBUpdate("shared", 0, &record, Shared("a.m3u").c_str()), 0);
    AddShared("a.m3u", M3u({"/new"}));
  });
  EXPECT_EQ(VEXOPlaylistAppendSongs("shared", 0, id.c_str(), MakeSongs({"/b"}).get(), 1), 0);
  EXPECT_EQ(ReadBytes(Shared("b.m3u")), M3u({"/a", "/b"}));
  EXPECT_EQ(ReadBytes(Shared("a.m3u")), M3u({"/new"}));
}

TEST_F(Library, AnEditOfAPlaylistDeletedBetweenFails) {
  const std::string id = AddShared("a.m3u", M3u({"/a"}));
  faults::BeforeNextRename([&] {
    VEXOPlaylistRow *list = nullptr;
    ASSERT_EQ(VEXOPlayListListGetByID("shared", 0, &list, id.c_str()), 0);
    EXPECT_EQ(VEXOPlayListUnlink("shared", list), 0);
    VEXOPlayListFree(list);
  });
  EXPECT_EQ(VEXOPlaylistAppendSongs("shared", 0, id.c_str(), MakeSongs({"/b"}).get(), 1), -1);
  EXPECT_TRUE(Names(library() + "/playlists").empty());
}

} // namespace
} // namespace vexo::playlists
