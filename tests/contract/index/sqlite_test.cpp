// What only the SQLite engine must hold: its file, and what befalls it.

#include "contract/index/engine.h"
#include "index/sqlite_schema.h"
#include "index/words.h"

#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace vexo::index {
namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;

class SqliteFile : public ::testing::Test {
protected:
  [[nodiscard]] std::string path() const { return folder_ / "index.db"; }

  [[nodiscard]] std::vector<std::string> Titles() const {
    std::vector<std::string> titles;
    for (const Playlist &playlist : SqliteIndex(path()).AllPlaylists(0)) {
      titles.push_back(playlist.path);
    }
    return titles;
  }

  /// Runs `body` in `count` processes at once; how many of them ended well.
  template <typename Body> static int InProcesses(int count, Body body) {
    std::vector<pid_t> processes;
    for (int i = 0; i < count; ++i) {
      const pid_t process = fork();
      if (process == 0) {
        try {
          body(i);
          _exit(0);
        } catch (...) {
          _exit(1);
        }
      }
      processes.push_back(process);
    }
    int good = 0;
    for (const pid_t process : processes) {
      int status = -1;
      waitpid(process, &status, 0);
      good += WIFEXITED(status) && WEXITSTATUS(status) == 0 ? 1 : 0;
    }
    return good;
  }

  TemporaryFolder folder_;
};

constexpr int kImpatient = 20;

TEST_F(SqliteFile, TheFileAndItsFolderAreMadeWhenMissing) {
  SqliteIndex(folder_ / "a/b/index.db").AddPlaylist(MakePlaylist("/a"));
  EXPECT_THAT(SqliteIndex(folder_ / "a/b/index.db").AllPlaylists(0), SizeIs(1));
}

TEST_F(SqliteFile, WhatIsMadeIsForItsOwnerToWrite) {
  const mode_t old = umask(0);
  SqliteIndex(folder_ / "a/index.db").AddPlaylist(MakePlaylist("/a"));
  umask(old);
  EXPECT_EQ(fs::status(folder_ / "a").permissions(), fs::perms(0755));
  for (const char *const suffix : {"", "-wal", "-shm"}) {
    EXPECT_EQ(fs::status((folder_ / "a/index.db") + suffix).permissions(), fs::perms(0644))
        << suffix;
  }
}

TEST_F(SqliteFile, ProcessesThatMakeTheIndexAtOnceAllSucceed) {
  constexpr int kProcesses = 16;
  EXPECT_EQ(InProcesses(kProcesses,
                        [&](int i) {
                          SqliteIndex(path()).AddPlaylist(MakePlaylist("/" + std::to_string(i)));
                        }),
            kProcesses);
  EXPECT_THAT(Titles(), SizeIs(kProcesses));
}

TEST_F(SqliteFile, OfManyEqualRowsAtOnceExactlyOneIsAdded) {
  SqliteIndex make(path());
  EXPECT_EQ(InProcesses(16, [&](int) { SqliteIndex(path()).AddPlaylist(MakePlaylist("/a")); }), 1);
  EXPECT_THAT(Titles(), ElementsAre("/a"));
}

TEST_F(SqliteFile, AnEmptyFileIsMigrated) {
  WriteBytes(path(), "");
  SqliteIndex(path()).AddPlaylist(MakePlaylist("/a"));
  EXPECT_EQ(SqliteDatabase(path(), kImpatient).Number("PRAGMA user_version"), SchemaVersion());
}

TEST_F(SqliteFile, AnIndexOfANewerProgramIsRefusedAndKept) {
  SqliteIndex(path()).AddPlaylist(MakePlaylist("/a"));
  const std::string newer = "PRAGMA user_version=" + std::to_string(SchemaVersion() + 1);
  SqliteDatabase(path(), kImpatient).Execute(newer.c_str());
  EXPECT_THROW(SqliteIndex index(path()), IndexError);
  EXPECT_EQ(SqliteDatabase(path(), kImpatient).Number("SELECT count(*) FROM playlists"), 1);
}

/// What it was when each title was in a trigram index by itself.
void MakeFifthVersion(const std::string &path) {
  SqliteDatabase database(path, kImpatient);
  database.Execute("DROP TABLE title_words; DELETE FROM entries WHERE list < 0 AND list % 8 = -5;"
                   "ALTER TABLE catalog DROP COLUMN old_titles;"
                   "CREATE VIRTUAL TABLE song_words USING fts5("
                   "title, content='', tokenize='trigram case_sensitive 1');"
                   "PRAGMA user_version=5");
  database.Transact(Lock::kSongs, [&] {
    Statement songs(database, "SELECT id, title FROM songs");
    Statement add(database, "INSERT INTO song_words(rowid, title) VALUES(?1, ?2)");
    while (songs.Step()) {
      const std::string marked = MarkedText(songs.View(1));
      add.Bind(1, songs.Int64(0)).Bind(2, marked).Run();
    }
  });
}

/// What it was before there were albums.
void MakeThirdVersion(const std::string &path) {
  MakeFifthVersion(path);
  SqliteDatabase database(path, kImpatient);
  for (const std::string column :
       {"album", "artist", "album_artist", "genre", "composer", "folder"}) {
    database.Execute(("ALTER TABLE songs DROP COLUMN " + column + "_id").c_str());
  }
  database.Execute("DROP TABLE song_marks; DROP TABLE lost_marks;"
                   "DROP TABLE song_groups; DROP TABLE group_albums; DROP TABLE entries;"
                   "DROP TABLE marks; DROP TABLE song_words; DROP TABLE group_words;"
                   "DROP TABLE catalog; PRAGMA user_version=3");
}

/// What the index was at first.
void MakeFirstVersion(const std::string &path) {
  MakeThirdVersion(path);
  SqliteDatabase(path, kImpatient)
      .Execute("ALTER TABLE playlists DROP COLUMN inode;"
               "ALTER TABLE playlists DROP COLUMN born_ns;"
               "DROP TABLE unreadable_files;"
               "PRAGMA user_version=1");
}

TEST_F(SqliteFile, AnOlderIndexKeepsItsRows) {
  const Playlist old = MakePlaylist("/a");
  const int32_t id = SqliteIndex(path()).AddPlaylist(old);
  MakeFirstVersion(path());
  SqliteIndex index(path());
  const auto row = index.PlaylistByPath(0, "/a");
  ASSERT_TRUE(row);
  EXPECT_EQ(row->id, id);
  EXPECT_EQ(row->title, old.title);
  EXPECT_EQ(row->size_bytes, old.size_bytes);
  EXPECT_EQ(row->file, files::FileIdentity());
  EXPECT_TRUE(index.UpdatePlaylist(0, id, old));
  EXPECT_EQ(index.PlaylistByPath(0, "/a")->file, old.file);
  EXPECT_THAT(index.UnreadableFiles(0), IsEmpty());
}

TEST_F(SqliteFile, SongsOfAnOlderIndexGetTheirAlbums) {
  Song song = MakeSong("/m/a/1.ogg");
  song.artist = "Brown";
  song.album = "Blue";
  SqliteIndex(path()).WriteSongs({song, MakeSong("/m/b/2.ogg", 3)}, {});
  const std::vector<SongFile> before = SqliteIndex(path()).SongFiles(0);
  MakeThirdVersion(path());
  SqliteIndex index(path());
  EXPECT_EQ(index.SongFiles(0), before);
  GroupList albums;
  const Page<Group> page = index.ListGroups(albums, {0, 10});
  ASSERT_THAT(page.items, SizeIs(1));
  EXPECT_EQ(page.items[0].name, "Blue");
  SongList songs;
  songs.words = "brown";
  songs.sort = {Field::kTitle};
  EXPECT_EQ(index.ListSongs(songs, {0, 10}).total, 1);
  EXPECT_THAT(index.FindDamage(), IsEmpty());
}

TEST_F(SqliteFile, AnOlderIndexOfManySongsWaitsForAScan) {
  constexpr int kSongs = 20'001;
  std::vector<Song> songs;
  for (int i = 0; i < kSongs; ++i) {
    songs.push_back(MakeSong("/" + std::to_string(i)));
  }
  SqliteIndex(path()).WriteSongs(songs, {});
  MakeThirdVersion(path());
  SqliteIndex index(path());
  SongList list;
  list.sort = {Field::kTitle};
  EXPECT_EQ(index.ListSongs(list, {0, 1}).total, 0);
  songs[0].id = index.SongsByPath({"/0"}).at(0).id;
  songs[0].title = "changed";
  index.WriteSongs({songs[0]}, {index.SongsByPath({"/1"}).at(0).id});
  EXPECT_EQ(index.ListSongs(list, {0, 1}).total, 1) << "what is written meanwhile is there";
  index.CompleteCatalog();
  EXPECT_EQ(index.ListSongs(list, {0, 1}).total, kSongs - 1);
  EXPECT_EQ(SqliteDatabase(path(), kImpatient).Number("SELECT complete FROM catalog"), 1);
  EXPECT_THAT(index.FindDamage(), IsEmpty());
}

std::vector<std::string> PathsWith(SqliteIndex &index, const std::string &words) {
  SongList list;
  list.words = words;
  std::vector<std::string> paths;
  for (const CatalogSong &song : index.ListSongs(list, {0, 100}).items) {
    paths.push_back(song.song.path);
  }
  return paths;
}

TEST_F(SqliteFile, TitlesOfAnOlderIndexAreFound) {
  SqliteIndex(path()).WriteSongs({MakeSong("/green/1"), MakeSong("/green river/2")}, {});
  const std::vector<SongFile> before = SqliteIndex(path()).SongFiles(0);
  MakeFifthVersion(path());
  SqliteIndex index(path());
  EXPECT_EQ(index.SongFiles(0), before) << "with their ids";
  EXPECT_THAT(PathsWith(index, "een river"), ElementsAre("/green river/2"));
  EXPECT_EQ(SqliteDatabase(path(), kImpatient).Number("SELECT old_titles FROM catalog"), 0);
  EXPECT_THAT(index.FindDamage(), IsEmpty());
}

TEST_F(SqliteFile, TitlesOfManySongsAreFoundBeforeAndAfterAScan) {
  constexpr int kSongs = 20'001;
  std::vector<Song> songs;
  for (int i = 0; i < kSongs; ++i) {
    songs.push_back(MakeSong("/song" + std::to_string(i)));
  }
  SqliteIndex(path()).WriteSongs(songs, {});
  MakeFifthVersion(path());
  SqliteIndex index(path());
  EXPECT_GT(SqliteDatabase(path(), kImpatient).Number("SELECT old_titles FROM catalog"), 0);
  EXPECT_THAT(PathsWith(index, "ong1999"), SizeIs(11));
  songs[0].id = index.SongsByPath({"/song1999"}).at(0).id;
  songs[0].path = "/song1999";
  songs[0].title = "changed";
  index.WriteSongs({songs[0], MakeSong("/song1999new")},
                   {index.SongsByPath({"/song19991"}).at(0).id});
  for (const char *const when : {"before", "after"}) {
    EXPECT_THAT(PathsWith(index, "ong1999"), SizeIs(10)) << when;
    EXPECT_THAT(PathsWith(index, "changed"), ElementsAre("/song1999")) << when;
    EXPECT_THAT(index.FindDamage(), IsEmpty()) << when;
    index.CompleteCatalog();
  }
  EXPECT_EQ(SqliteDatabase(path(), kImpatient).Number("SELECT old_titles FROM catalog"), 0);
}

TEST_F(SqliteFile, WordsThatNoTitleHasAreForgotten) {
  SqliteIndex index(path());
  index.WriteSongs({MakeSong("/green 1"), MakeSong("/green 2")}, {});
  const auto words = [&] {
    return SqliteDatabase(path(), kImpatient).Number("SELECT count(*) FROM title_words");
  };
  EXPECT_EQ(words(), 3);
  index.WriteSongs({}, {1});
  EXPECT_EQ(words(), 2);
  EXPECT_THAT(PathsWith(index, "green"), ElementsAre("/green 2"));
  index.WriteSongs({MakeSong("/green 1")}, {2});
  EXPECT_EQ(words(), 2);
  EXPECT_THAT(PathsWith(index, "green"), ElementsAre("/green 1"));
  EXPECT_EQ(
      SqliteDatabase(path(), kImpatient).Number("SELECT count(*) FROM entries WHERE list = -5"), 2);
}

TEST_F(SqliteFile, ListsThatAreBrokenAreFoundAndBuiltAnew) {
  Song song = MakeSong("/m/a/1.ogg");
  song.album = "Blue";
  SqliteIndex(path()).WriteSongs({song, MakeSong("/m/b/2.ogg")}, {});
  const int32_t album = SqliteIndex(path()).ListGroups({}, {0, 1}).items.at(0).id;
  SqliteDatabase(path(), kImpatient).Execute("DELETE FROM entries WHERE id = 1");
  SqliteIndex index(path());
  EXPECT_THAT(index.FindDamage(), Not(IsEmpty()));
  index.RepairDamage();
  EXPECT_THAT(index.FindDamage(), IsEmpty());
  SongList list;
  list.sort = {Field::kTitle};
  EXPECT_THAT(index.ListSongs(list, {0, 9}).items, SizeIs(2));
  EXPECT_EQ(index.ListGroups({}, {0, 1}).items.at(0).id, album) << "groups keep their ids";
}

TEST_F(SqliteFile, AMigrationThatFailsChangesNothing) {
  SqliteDatabase(path(), kImpatient).Execute("CREATE TABLE playlists(other)");
  EXPECT_THROW(SqliteIndex index(path()), IndexError);
  SqliteDatabase database(path(), kImpatient);
  EXPECT_EQ(database.Number("SELECT count(*) FROM sqlite_master"), 1);
  EXPECT_EQ(database.Number("PRAGMA user_version"), 0);
}

TEST_F(SqliteFile, ALockedIndexIsReadButAWriteFailsAfterItsTime) {
  SqliteIndex index(path(), kImpatient);
  index.AddPlaylist(MakePlaylist("/a"));
  SqliteDatabase other(path(), kImpatient);
  other.Execute("BEGIN IMMEDIATE");
  EXPECT_THROW(index.AddPlaylist(MakePlaylist("/b")), IndexError);
  EXPECT_THROW(index.WriteSongs({MakeSong("/s")}, {}), IndexError);
  EXPECT_THAT(index.AllPlaylists(0), SizeIs(1));
}

TEST_F(SqliteFile, AnErrorTellsTheFileAndTheCause) {
  SqliteIndex index(path(), kImpatient);
  SqliteDatabase other(path(), kImpatient);
  other.Execute("BEGIN IMMEDIATE");
  try {
    index.AddPlaylist(MakePlaylist("/b"));
    FAIL() << "added in spite of the lock";
  } catch (const IndexError &error) {
    EXPECT_THAT(error.what(), HasSubstr(path()));
    EXPECT_THAT(error.what(), HasSubstr("locked"));
  }
}

TEST_F(SqliteFile, WhatIsNoDatabaseIsRefusedAndKept) {
  const std::string text(10'000, 'x');
  WriteBytes(path(), text);
  EXPECT_THROW(SqliteIndex index(path()), IndexError);
  EXPECT_EQ(ReadBytes(path()), text);
}

TEST_F(SqliteFile, APathThatCannotBeOpenedIsAnError) {
  fs::create_directory(path());
  EXPECT_THROW(SqliteIndex index(path()), IndexError);
  WriteBytes(folder_ / "file", "");
  EXPECT_THROW(SqliteIndex index(folder_ / "file/index.db"), IndexError);
}

TEST_F(SqliteFile, ADamagedTableIsAnErrorWhenItIsRead) {
  constexpr std::size_t kPage = 4096;
  std::size_t without_rows = 0;
  {
    SqliteIndex index(path());
    index.Optimize();
    without_rows = fs::file_size(path()) / kPage;
    for (int i = 0; i < 200; ++i) {
      index.AddPlaylist(MakePlaylist("/" + std::to_string(i)));
    }
    index.Optimize();
  }
  std::string bytes = ReadBytes(path());
  for (std::size_t page = without_rows; page < bytes.size() / kPage; ++page) {
    bytes.replace(page * kPage, 64, std::string(64, '\xaa'));
  }
  WriteBytes(path(), bytes);
  EXPECT_THROW((void)SqliteIndex(path()).AllPlaylists(0), IndexError);
  EXPECT_THAT(SqliteIndex(path()).FindDamage(), Not(IsEmpty()));
}

/// A process that adds rows for ever, from "FOLDER/0" on, and tells of each when it is added.
class EndlessWriter {
public:
  EndlessWriter(const std::string &file, const std::string &folder) {
    EXPECT_EQ(pipe(told_), 0);
    process_ = fork();
    if (process_ == 0) {
      SqliteIndex index(file);
      for (int i = 0;; ++i) {
        index.AddPlaylist(MakePlaylist(folder + "/" + std::to_string(i)));
        if (write(told_[1], "", 1) != 1) {
          _exit(1);
        }
      }
    }
    close(told_[1]);
  }
  EndlessWriter(const EndlessWriter &) = delete;
  EndlessWriter &operator=(const EndlessWriter &) = delete;
  ~EndlessWriter() {
    kill(process_, SIGKILL);
    waitpid(process_, nullptr, 0);
    close(told_[0]);
  }

  /// Kills it when it has added `count` rows, and gives how many it has told of by then.
  std::size_t KillAfter(std::size_t count) const {
    char byte = 0;
    std::size_t told = 0;
    while (told < count && read(told_[0], &byte, 1) == 1) {
      ++told;
    }
    kill(process_, SIGKILL);
    while (read(told_[0], &byte, 1) == 1) {
      ++told;
    }
    return told;
  }

private:
  int told_[2] = {-1, -1};
  pid_t process_ = -1;
};

TEST_F(SqliteFile, AWriterThatIsKilledLeavesWholeRows) {
  SqliteIndex make(path());
  std::size_t before = 0;
  for (std::size_t round = 0; round < 20; ++round) {
    const std::size_t told =
        EndlessWriter(path(), "/" + std::to_string(round)).KillAfter(1 + round % 4);
    ASSERT_GE(told, 1 + round % 4) << "the writer wrote";
    ASSERT_THAT(SqliteIndex(path()).FindDamage(), IsEmpty());
    const std::size_t now = Titles().size();
    EXPECT_GE(now, before + told) << "what was added is there";
    EXPECT_LE(now, before + told + 1) << "and at most the row that it was about to tell of";
    SqliteIndex(path()).AddPlaylist(MakePlaylist("/after " + std::to_string(round)));
    before = now + 1;
  }
}

TEST_F(SqliteFile, TheLogStaysShortHoweverManyProcessesWriteOneAfterTheOther) {
  constexpr std::uintmax_t kLongestLog = std::uintmax_t{40} * 4200;
  for (int i = 0; i < 100; ++i) {
    SqliteIndex(path()).AddPlaylist(MakePlaylist("/" + std::to_string(i)));
    ASSERT_LT(fs::file_size(path() + "-wal"), kLongestLog) << i;
  }
  EXPECT_THAT(Titles(), SizeIs(100));
}

TEST_F(SqliteFile, TheLogHasRoomBeforeTheDiskIsFull) {
  constexpr blksize_t kBlock = 512;
  constexpr off_t kTwelvePages = off_t{12} * 4120;
  for (int i = 0; i < 30; ++i) {
    SqliteIndex(path()).AddPlaylist(MakePlaylist("/" + std::to_string(i)));
    struct stat log {};
    ASSERT_EQ(stat((path() + "-wal").c_str(), &log), 0);
    EXPECT_GE(log.st_blocks * kBlock, log.st_size + kTwelvePages) << i;
  }
}

TEST_F(SqliteFile, TheLogIsEmptyAfterManySongsWereWritten) {
  {
    SqliteIndex index(path());
    index.WriteSongs(std::vector<Song>(1, MakeSong("/a")), {});
  }
  EXPECT_EQ(fs::file_size(path() + "-wal"), 0U);
}

TEST_F(SqliteFile, ASearchIndexThatIsBrokenIsFoundAndBuiltAnew) {
  Song song = MakeSong("/a");
  song.title = "searched text";
  SqliteIndex(path()).WriteSongs({song}, {});
  SqliteDatabase(path(), kImpatient)
      .Execute("UPDATE song_texts_data SET block = x'00' WHERE id > 10");
  SqliteIndex index(path());
  EXPECT_THAT(index.FindDamage(), Not(IsEmpty()));
  index.RepairDamage();
  EXPECT_THAT(index.FindDamage(), IsEmpty());
  Search search;
  search.field = 1;
  search.keyword = "searched";
  EXPECT_THAT(index.SearchSongs(0, search), SizeIs(1));
}

TEST_F(SqliteFile, ASoundIndexHasNoDamage) {
  SqliteIndex index(path());
  index.WriteSongs({MakeSong("/a"), MakeSong("/b")}, {});
  index.Optimize();
  EXPECT_THAT(index.FindDamage(), IsEmpty());
}

TEST_F(SqliteFile, IdsEndAtThirtyTwoBits) {
  SqliteIndex index(path());
  index.AddPlaylist(MakePlaylist("/a"));
  SqliteDatabase(path(), kImpatient)
      .Execute("UPDATE sqlite_sequence SET seq = 2147483646 WHERE name = 'playlists'");
  EXPECT_EQ(index.AddPlaylist(MakePlaylist("/b")), 2147483647);
  EXPECT_THROW(index.AddPlaylist(MakePlaylist("/c")), IndexError);
}

} // namespace
} // namespace vexo::index
