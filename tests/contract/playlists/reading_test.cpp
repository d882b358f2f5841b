// Playlist files as lists of records.
#include "contract/playlists/playlists_test.h"
#include "index/sqlite_index.h"
#include "playlists/playlist_text.h"
#include "playlists/read_playlist.h"
#include <climits>
#include <sys/stat.h>
#include <unistd.h>

namespace vexo::playlists {
namespace {

/// An index that remembers which paths it was asked for.
class AskedIndex : public index::SqliteIndex {
public:
  using index::SqliteIndex::SqliteIndex;
  void VisitSongsByPath(const std::vector<std::string> &paths,
                        const std::function<void(const index::SongView &)> &visit) override {
    asked.push_back(paths);
    index::SqliteIndex::VisitSongsByPath(paths, visit);
  }
  static inline std::vector<Texts> asked;
};

class Reading : public Playlists {
protected:
  void SetUp() override {
    Playlists::SetUp();
    AskedIndex::asked.clear();
  }

  static index::Song Song(const std::string &path, const std::string &title) {
    index::Song song;
    song.path = path;
    song.title = title;
    song.duration_seconds = 100;
    song.year = 1999;
    return song;
  }
  static void Know(const std::vector<index::Song> &songs) {
    index::SetProcessIndex(nullptr);
    fs::remove(system::kIndexFile);
    index::SetProcessIndex(std::make_unique<AskedIndex>(system::kIndexFile));
    index::ProcessIndex().WriteSongs(songs, {});
  }
  static host::SongList Read(const std::string &path, int offset = 0, int limit = 0) {
    count_ = -1;
    return host::SongList(
        ParsePlayListByFieldGivenPath(path.c_str(), &count_, offset, limit, "*", 7));
  }

  static inline int count_ = 0;
  const std::string file_ = Shared("list.m3u");
};

TEST_F(Reading, GivesWhatTheIndexAndElseTheFileKnows) {
  Know({Song("/m/known.mp3", "From the index")});
  WriteBytes(file_, M3u({"#EXTINF:5,File Artist - File Title", "/m/known.mp3",
                         "#EXTINF:6,Other - Unknown", "/m/unknown.mp3"}));
  const auto songs = Read(file_);
  ASSERT_EQ(count_, 2);
  EXPECT_GT(songs->info.id, 0);
  EXPECT_STREQ(songs->info.title, "From the index");
  EXPECT_STREQ(songs->info.artist, "File Artist");
  EXPECT_EQ(songs->info.duration, 100);
  EXPECT_EQ(songs->info.year, 1999);
  EXPECT_EQ(songs->next->info.id, 0);
  EXPECT_STREQ(songs->next->info.path, "/m/unknown.mp3");
  EXPECT_STREQ(songs->next->info.title, "Unknown");
  EXPECT_EQ(songs->next->info.duration, 6);
}

TEST_F(Reading, LooksAllSongsUpInOneQuery) {
  Know({});
  WriteBytes(file_, M3u({"/a", "http://radio/1", "/b", "/a"}));
  (void)Read(file_);
  EXPECT_EQ(AskedIndex::asked, (std::vector<Texts>{{"/a", "/b", "/a"}}));
}

TEST_F(Reading, OfStreamsAloneAsksNothing) {
  Know({});
  WriteBytes(file_, M3u({"http://radio/1"}));
  EXPECT_EQ(PathsOf(Read(file_).get()), Texts{"http://radio/1"});
  EXPECT_TRUE(AskedIndex::asked.empty());
}

TEST_F(Reading, AnIndexThatFailsCostsOnlyWhatItWouldKnow) {
  WriteBytes(system::kIndexFile, std::string(8192, 'x'));
  WriteBytes(file_, M3u({"#EXTINF:5,A - T", "/a"}));
  const auto songs = Read(file_);
  ASSERT_EQ(count_, 1);
  EXPECT_STREQ(songs->info.title, "T");
}

TEST_F(Reading, GivesTheStretchAskedFor) {
  Know({});
  WriteBytes(file_, M3u({"/a", "/b", "/c"}));
  struct Row {
    int offset, limit;
    Texts paths;
  };
  for (const Row &row : {Row{0, 0, {"/a", "/b", "/c"}}, Row{1, 0, {"/b", "/c"}}, Row{1, 1, {"/b"}},
                         Row{2, 9, {"/c"}}, Row{3, 1, {}}, Row{99, 0, {}}}) {
    EXPECT_EQ(PathsOf(Read(file_, row.offset, row.limit).get()), row.paths);
    EXPECT_EQ(count_, static_cast<int>(row.paths.size()));
  }
}

TEST_F(Reading, OfAnEmptyFileCountsNothing) {
  WriteBytes(file_, "");
  EXPECT_FALSE(Read(file_));
  EXPECT_EQ(count_, 0);
}

TEST_F(Reading, OfWhatCannotBeReadLeavesTheCount) {
  fs::create_directory(Shared("folder"));
  ASSERT_EQ(mkfifo(Shared("pipe").c_str(), 0600), 0);
  WriteBytes(file_, M3u({"/a"}));
  for (const char *name : {"none", "folder", "pipe"}) {
    EXPECT_FALSE(Read(Shared(name))) << name;
    EXPECT_EQ(count_, -1) << name;
  }
  EXPECT_FALSE(Read(file_, -1, 0));
  EXPECT_FALSE(Read(file_, 0, -1));
  int count = -1;
  EXPECT_EQ(ParsePlayListByFieldGivenPath(nullptr, &count, 0, 0, "*", 7), nullptr);
  EXPECT_EQ(ParsePlayListByFieldGivenPath(file_.c_str(), &count, 0, 0, "path", 7), nullptr);
  EXPECT_EQ(ParsePlayListByFieldGivenPath(file_.c_str(), &count, 0, 0, "*", 1), nullptr);
  EXPECT_EQ(count, -1);
}

TEST_F(Reading, RelativePathsAreTheFoldersOrElseTheLibrarys) {
  Know({});
  fs::create_directory(library() + "/Album");
  WriteBytes(library() + "/Album/both.mp3", "");
  WriteBytes(Shared("beside.mp3"), "");
  WriteBytes(file_, M3u({"beside.mp3", "Album/both.mp3", "../Album/both.mp3", "none.mp3"}));
  EXPECT_EQ(ReadPaths(file_), (Texts{Shared("beside.mp3"), library() + "/Album/both.mp3",
                                     library() + "/Album/both.mp3", "none.mp3"}));
}

TEST_F(Reading, RelativePathsOfAPersonalLibraryAreItsOwn) {
  Know({});
  WriteBytes(Personal("alice") + "/own.mp3", "");
  const std::string list = Personal("alice") + "/playlists/list.m3u";
  WriteBytes(list, M3u({"own.mp3", "song.mp3"}));
  EXPECT_EQ(ReadPaths(list), (Texts{Personal("alice") + "/own.mp3", "song.mp3"}));
}

TEST_F(Reading, RelativePathsOfAPreferenceFolderAreTheSharedLibrarys) {
  Know({});
  const std::string list = Preferences("bob") + "/playlists/list.m3u";
  WriteBytes(list, M3u({"song.mp3"}));
  EXPECT_EQ(ReadPaths(list), Texts{library() + "/song.mp3"});
}

TEST_F(Reading, PathsAreGivenAsTheLibraryIsNamed) {
  Know({});
  fs::rename(library(), library() + "-disk");
  fs::create_directory_symlink(library() + "-disk", library());
  const std::string resolved = library() + "-disk/playlists/list.m3u";
  WriteBytes(resolved, M3u({"../song.mp3"}));
  EXPECT_EQ(ReadPaths(resolved), Texts{library() + "/song.mp3"});
}

TEST_F(Reading, PathsThatWouldBeTakenForCommentsSurvive) {
  Know({});
  const Texts paths = {"#1.mp3", " a.mp3", "\ta.mp3", "./#1.mp3", "/#1/a", "/a ", "./a"};
  ASSERT_EQ(VEXOWriteMusicPlaylist(MakeSongs(paths).get(), file_.c_str()), 0);
  EXPECT_EQ(ReadPaths(file_), paths);
}

TEST_F(Reading, BytesThatAreNotUtf8AreTheDevicesCodePage) {
  Know({});
  WriteBytes(file_, "#EXTINF:1,Caf\xE9 - \xC0 la\n/caf\xE9.mp3\n/caf\xC3\xA9.mp3\n");
  const auto songs = Read(file_);
  ASSERT_EQ(count_, 2);
  EXPECT_STREQ(songs->info.artist, "Caf\xC3\xA9");
  EXPECT_STREQ(songs->info.title, "\xC3\x80 la");
  EXPECT_STREQ(songs->info.path, "/caf\xC3\xA9.mp3");
  EXPECT_STREQ(songs->next->info.path, "/caf\xC3\xA9.mp3");
}

TEST_F(Reading, AFileNamedInBytesThatAreNotUtf8IsFound) {
  Know({});
  const std::string song = library() + "/caf\xE9.mp3";
  WriteBytes(song, "");
  WriteBytes(file_, M3u({song}));
  EXPECT_EQ(ReadPaths(file_), Texts{song});
}

TEST_F(Reading, LinesLongerThanARecordHoldsArePassedOver) {
  Know({});
  WriteBytes(file_, M3u({"/" + std::string(5000, 'a'), "/" + std::string(4094, 'b')}));
  EXPECT_EQ(ReadPaths(file_), Texts{"/" + std::string(4094, 'b')});
}

TEST_F(Reading, AddressesOfLocalFilesAreTheirPaths) {
  Know({});
  const std::string song = library() + "/a b%.mp3";
  WriteBytes(song, "");
  const std::string gone = "file://" + library() + "/gone%20one.mp3";
  WriteBytes(file_, M3u({"file://" + library() + "/a%20b%25.mp3",
                         "FILE://localhost" + library() + "/a%20b%.mp3", gone,
                         "file://elsewhere" + library() + "/song.mp3"}));
  EXPECT_EQ(ReadPaths(file_),
            (Texts{song, song, gone, "file://elsewhere" + library() + "/song.mp3"}));
}

TEST_F(Reading, BackslashesSeparateWhereThePlainPathIsNoFile) {
  Know({});
  fs::create_directory(library() + "/AC");
  WriteBytes(library() + "/AC/DC.mp3", "");
  const std::string slashes = library() + "/AC/DC.mp3", plain = library() + "/AC\\DC.mp3";
  WriteBytes(file_, M3u({"AC\\DC.mp3", "..\\AC\\DC.mp3", plain, "C:\\AC\\DC.mp3"}));
  EXPECT_EQ(ReadPaths(file_), (Texts{slashes, slashes, slashes, "C:\\AC\\DC.mp3"}));
  WriteBytes(plain, "");
  EXPECT_EQ(ReadPaths(file_), (Texts{plain, slashes, plain, "C:\\AC\\DC.mp3"}));
}

TEST_F(Reading, TellsNothingOfFilesOutsideOfTheLibraries) {
  Know({});
  const std::string there = std::string(system::kTemporary) + "/there.mp3";
  WriteBytes(there, "");
  fs::create_directory_symlink(system::kTemporary, library() + "/link");
  fs::create_symlink(there, library() + "/linked.mp3");
  const Texts entries = {"../../tmp/there.mp3", "../link/there.mp3",
                         "../linked.mp3",       "..\\..\\tmp\\there.mp3",
                         "file://" + there,     "../../homes/alice/music/own.mp3"};
  WriteBytes(Personal("alice") + "/own.mp3", "");
  setenv("REMOTE_USER", "bob", 1);
  WriteBytes(file_, M3u(entries));
  EXPECT_EQ(ReadPaths(file_), entries);
  unsetenv("REMOTE_USER");
}

TEST_F(Reading, OfANameThatNoFileCanHaveFindsNoFile) {
  EXPECT_FALSE(ReadPlaylist(file_ + "/below.m3u"));
  EXPECT_FALSE(ReadPlaylist(file_ + std::string(NAME_MAX, 'n')));
  EXPECT_FALSE(ReadPlaylist(file_ + std::string(PATH_MAX, 'n')));
}

TEST_F(Reading, NeverLeavesThePlaylistsFolders) {
  const std::string secret = system::kPasswordFile;
  WriteBytes(secret, "alice:secret\n");
  WriteBytes(library() + "/list.m3u", M3u({"/a"}));
  fs::create_symlink(secret, Shared("x.m3u"));
  fs::create_symlink("x.m3u", Shared("y.m3u"));
  fs::create_directory_symlink(library(), Shared("link"));
  for (const std::string &path :
       {secret, Shared("x.m3u"), Shared("y.m3u"), Shared("link/list.m3u"), Shared("../list.m3u"),
        library() + "/list.m3u", std::string("/etc/passwd"), std::string("/proc/self/environ"),
        std::string(system::kTemporary) + "/list.m3u", std::string()}) {
    EXPECT_FALSE(Read(path)) << path;
    EXPECT_EQ(count_, -1) << path;
  }
}

TEST_F(Reading, FollowsALinkFromOnePlaylistsFolderIntoAnother) {
  Know({});
  fs::create_directory(Shared("sub"));
  WriteBytes(Shared("sub/real.m3u"), M3u({"/a"}));
  fs::create_symlink("sub/real.m3u", file_);
  EXPECT_EQ(ReadPaths(file_), Texts{"/a"});
}

TEST_F(Reading, OfARequestIsOfItsUsersOwnLists) {
  Know({});
  const std::string alices = Preferences("alice") + "/playlists/a.m3u";
  WriteBytes(alices, M3u({"/a"}));
  fs::create_symlink(alices, Shared("link.m3u"));
  for (const char *user : {"alice", "bob", "mallory"}) {
    setenv("REMOTE_USER", user, 1);
    const bool may_read = user == std::string("alice");
    EXPECT_EQ(Read(alices) != nullptr, may_read) << user;
    EXPECT_EQ(Read(Shared("link.m3u")) != nullptr, may_read) << user;
  }
  unsetenv("REMOTE_USER");
}

TEST_F(Reading, OfWhatIsNoPlaylistFails) {
  std::string too_many;
  for (std::size_t i = 0; i <= kMaxEntries; ++i) {
    too_many += "/a\n";
  }
  for (const std::string &bytes : {std::string("#EXTM3U\n\0/a\n", 12), too_many}) {
    WriteBytes(file_, bytes);
    EXPECT_FALSE(Read(file_));
    EXPECT_EQ(count_, -1);
  }
}

class Loading : public Reading {
protected:
  static Texts Load(const std::string &path, int offset = 0, int limit = 0) {
    AudioPlaylist *const playlist = AudioFile::PlaylistFileLoad(path.c_str(), offset, limit);
    if (playlist == nullptr) {
      return {"not loaded"};
    }
    Texts paths;
    for (auto *const *record = playlist->begin; record != playlist->end; ++record) {
      paths.emplace_back((*record)->path);
    }
    playlist->Release();
    return paths;
  }
  const std::string queue_ = std::string(system::kTemporary) + "/playing_bob.pls";
};

TEST_F(Loading, ReadsPls) {
  Know({});
  WriteBytes(queue_, "[playlist]\nFile1=/a\nFile2=http://radio/1\nNumberOfEntries=2\n");
  EXPECT_EQ(Load(queue_), (Texts{"/a", "http://radio/1"}));
  EXPECT_EQ(Load(queue_, 1, 1), Texts{"http://radio/1"});
}

TEST_F(Loading, ReadsM3uWhateverItsName) {
  Know({Song("/a", "Title")});
  const std::string file = std::string(system::kTemporary) + "/==DynaRandom100==.bob";
  WriteBytes(file, M3u({"/a", "/b"}));
  EXPECT_EQ(Load(file), (Texts{"/a", "/b"}));
}

TEST_F(Loading, OfAnEmptyFileGivesAnEmptyPlaylist) {
  WriteBytes(queue_, "");
  EXPECT_EQ(Load(queue_), Texts{});
}

TEST_F(Loading, RefusesLinksFoldersAndPipes) {
  WriteBytes(library() + "/real.pls", "[playlist]\nFile1=/a\n");
  const std::string other = std::string(system::kTemporary) + "/other";
  fs::create_symlink(library() + "/real.pls", queue_);
  EXPECT_EQ(Load(queue_), Texts{"not loaded"});
  fs::create_directory(other);
  EXPECT_EQ(Load(other), Texts{"not loaded"});
  ASSERT_EQ(mkfifo((other + "2").c_str(), 0600), 0);
  EXPECT_EQ(Load(other + "2"), Texts{"not loaded"});
  EXPECT_EQ(Load(other + "3"), Texts{"not loaded"});
  EXPECT_EQ(AudioFile::PlaylistFileLoad(nullptr, 0, 0), nullptr);
}

TEST_F(Loading, RefusesOtherFoldersAndSecondNames) {
  WriteBytes(file_, M3u({"/a"}));
  EXPECT_EQ(Load(file_), Texts{"not loaded"});
  fs::create_hard_link(file_, queue_);
  EXPECT_EQ(Load(queue_), Texts{"not loaded"});
  fs::remove(file_);
  EXPECT_EQ(Load(queue_), Texts{"/a"});
}

TEST_F(Loading, RefusesAFileOfSomebodyElse) {
  if (geteuid() == 0) {
    WriteBytes(queue_, "[playlist]\nFile1=/a\n");
    ASSERT_EQ(chown(queue_.c_str(), 12345, 12345), 0);
    EXPECT_EQ(Load(queue_), Texts{"not loaded"});
  } else {
    EXPECT_EQ(Load("/etc/passwd"), Texts{"not loaded"});
  }
}

class Random : public Loading {
protected:
  static int Create(const std::string &path, int count = 100) {
    return AudioFile::PlaylistRandomCreate("shared", 0, path.c_str(), count);
  }
  const std::string file_ = std::string(system::kTemporary) + "/==DynaRandom100==.bob";
};

TEST_F(Random, WritesSongsThatLoad) {
  Know({Song("/a", "A"), Song("/b", "B")});
  ASSERT_EQ(Create(file_), 1);
  const std::string a = "#EXTINF:100,A\n/a\n", b = "#EXTINF:100,B\n/b\n";
  const std::string content = ReadBytes(file_).substr(kM3uHead.size());
  EXPECT_TRUE(content == a + b || content == b + a) << content;
  const Texts loaded = Load(file_);
  EXPECT_EQ(std::set(loaded.begin(), loaded.end()), (std::set<std::string>{"/a", "/b"}));
  EXPECT_EQ(fs::status(file_).permissions(), fs::perms(0600));
}

TEST_F(Random, ReplacesAPlantedLinkAndNotWhatItNames) {
  Know({Song("/a", "A")});
  WriteBytes(library() + "/victim", "victim");
  fs::create_symlink(library() + "/victim", file_);
  ASSERT_EQ(Create(file_), 1);
  EXPECT_FALSE(fs::is_symlink(file_));
  EXPECT_EQ(ReadBytes(library() + "/victim"), "victim");
}

TEST_F(Random, RefusesOtherFolders) {
  Know({Song("/a", "A")});
  const std::string temporary = system::kTemporary;
  fs::create_directory(temporary + "/sub");
  fs::create_directory_symlink(library(), temporary + "/link");
  for (const std::string &path :
       {library() + "/list", temporary + "/sub/list", temporary + "/link/list", temporary + "/..",
        std::string("list"), temporary + "/../library/list"}) {
    EXPECT_EQ(Create(path), 0) << path;
  }
  EXPECT_EQ(Names(library()), (std::set<std::string>{"playlists", "song.mp3"}));
}

TEST_F(Random, FailsWithoutSongsAndLeavesNoFileBehind) {
  Know({});
  EXPECT_EQ(Create(file_), 0);
  EXPECT_FALSE(fs::exists(file_));
  Know({Song("/a", "A")});
  EXPECT_EQ(Create(file_, 0), 0);
  EXPECT_EQ(AudioFile::PlaylistRandomCreate("other", 0, file_.c_str(), 100), 0);
  EXPECT_EQ(AudioFile::PlaylistRandomCreate("personal", 0, file_.c_str(), 100), 0);
  EXPECT_FALSE(fs::exists(file_));
}

} // namespace
} // namespace vexo::playlists
