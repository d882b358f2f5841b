#include "contract/tools/audio_files.h"
#include "contract/tools/kept_output.h"
#include "playlistctl/scan/scanner.h"
#include "playlistctl/scan/song_changes.h"
#include "playlistctl/scan/tags.h"
#include "support/temporary_folder.h"

#include <algorithm>
#include <filesystem>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vexo::tools {
namespace {

namespace fs = std::filesystem;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using ::testing::UnorderedElementsAre;

class Scanner : public ::testing::Test {
protected:
  void SetUp() override {
    options_.tags = {ReadTags, 2};
    options_.grace_period = std::chrono::seconds(0);
    fs::create_directory(library_.folder);
  }

  [[nodiscard]] std::string Path(const std::string &name) const {
    return library_.folder + "/" + name;
  }

  void File(const std::string &name, const std::string &bytes) const {
    fs::create_directories(fs::path(Path(name)).parent_path());
    WriteBytes(Path(name), bytes);
  }

  /// A song is told from another by its length.
  void Song(const std::string &name, uint64_t seconds) const {
    File(name, FlacTitled(name, seconds));
  }

  ScanResult Scan() { return ScanLibrary(*index_, library_, options_, output_); }

  [[nodiscard]] std::vector<std::string> Indexed() const {
    std::vector<std::string> names;
    for (const index::SongFile &song : index_->SongFiles(library_.owner)) {
      names.push_back(song.path.substr(library_.folder.size() + 1));
    }
    return names;
  }

  [[nodiscard]] int32_t IdOf(const std::string &name) const {
    const std::vector<index::Song> songs = index_->SongsByPath({Path(name)});
    return songs.empty() ? 0 : songs[0].id;
  }

  TemporaryFolder folder_;
  Library library_{0, "shared", folder_ / "music"};
  std::unique_ptr<index::MediaIndex> index_ = index::OpenSqliteIndex(folder_ / "index.db");
  ScanOptions options_;
  KeptOutput output_;
};

TEST_F(Scanner, NewSongsAreAddedWithWhatTheirFilesTell) {
  File("a/b.flac", Flac({{"TITLE", "Title"}, {"ARTIST", "Artist"}}, 100));
  const ScanResult result = Scan();
  EXPECT_EQ(result.added, 1U);
  const std::vector<index::Song> songs = index_->SongsByPath({Path("a/b.flac")});
  ASSERT_THAT(songs, SizeIs(1));
  EXPECT_EQ(songs[0].owner, 0);
  EXPECT_EQ(songs[0].title, "Title");
  EXPECT_EQ(songs[0].artist, "Artist");
  EXPECT_EQ(songs[0].duration_seconds, 100);
  EXPECT_EQ(songs[0].size_bytes, fs::file_size(Path("a/b.flac")));
  struct stat status {};
  ASSERT_EQ(stat(Path("a/b.flac").c_str(), &status), 0);
  EXPECT_EQ(songs[0].time_modified, status.st_mtim.tv_sec);
  EXPECT_GT(songs[0].time_added, 1'600'000'000);
}

TEST_F(Scanner, PathsStartAsTheLibraryIsNamed) {
  fs::create_directory_symlink(library_.folder, folder_ / "link");
  Song("a.flac", 1);
  library_.folder = folder_ / "link";
  Scan();
  EXPECT_NE(IdOf("a.flac"), 0);
  EXPECT_THAT(index_->SongsByPath({folder_ / "music/a.flac"}), IsEmpty());
}

TEST_F(Scanner, WhatHasNotChangedIsNotReadAgain) {
  Song("a.flac", 1);
  Song("b.flac", 2);
  Scan();
  Song("b.flac", 3000);
  std::ofstream(Path("b.flac"), std::ios::app) << "longer";
  options_.tags.read = [](const std::string &path) {
    EXPECT_THAT(path, HasSubstr("b.flac"));
    return ReadTags(path);
  };
  const ScanResult result = Scan();
  EXPECT_EQ(result.unchanged, 1U);
  EXPECT_EQ(result.changed, 1U);
}

TEST_F(Scanner, AChangedFileKeepsItsIdAndIsReadAnew) {
  Song("a.flac", 1);
  Scan();
  const int32_t id = IdOf("a.flac");
  File("a.flac", Flac({{"TITLE", "a longer title than before"}}));
  EXPECT_EQ(Scan().changed, 1U);
  EXPECT_EQ(index_->SongsById(0, {id}).at(0).title, "a longer title than before");
}

TEST_F(Scanner, AFileWithAnotherTimeIsReadAnew) {
  Song("a.flac", 1);
  Scan();
  File("a.flac", FlacTitled("A.flac", 1));
  fs::last_write_time(Path("a.flac"),
                      fs::last_write_time(Path("a.flac")) + std::chrono::seconds(5));
  EXPECT_EQ(Scan().changed, 1U);
  EXPECT_EQ(index_->SongsByPath({Path("a.flac")}).at(0).title, "A.flac");
}

TEST_F(Scanner, SongsThatAreGoneAreForgotten) {
  Song("a.flac", 1);
  Song("b.flac", 2);
  Scan();
  fs::remove(Path("a.flac"));
  EXPECT_EQ(Scan().gone, 1U);
  EXPECT_THAT(Indexed(), ElementsAre("b.flac"));
}

TEST_F(Scanner, AMovedSongKeepsItsId) {
  Song("a.flac", 1);
  Song("b.flac", 2);
  Scan();
  const int32_t id = IdOf("a.flac");
  fs::create_directory(Path("sub"));
  fs::rename(Path("a.flac"), Path("sub/new name.flac"));
  const ScanResult result = Scan();
  EXPECT_EQ(result.moved, 1U);
  EXPECT_EQ(result.added + result.gone, 0U);
  EXPECT_EQ(IdOf("sub/new name.flac"), id);
  EXPECT_THAT(Indexed(), ElementsAre("b.flac", "sub/new name.flac"));
}

TEST_F(Scanner, AMovedFolderOfEqualSongsKeepsEachId) {
  for (const char *name : {"one", "two", "six"}) {
    File(std::string("old/") + name + ".flac", FlacTitled(name, 7));
  }
  Scan();
  const std::vector<int32_t> ids = {IdOf("old/one.flac"), IdOf("old/two.flac"),
                                    IdOf("old/six.flac")};
  fs::rename(Path("old"), Path("new"));
  EXPECT_EQ(Scan().moved, 3U);
  EXPECT_EQ(IdOf("new/one.flac"), ids[0]);
  EXPECT_EQ(IdOf("new/two.flac"), ids[1]);
  EXPECT_EQ(IdOf("new/six.flac"), ids[2]);
}

TEST_F(Scanner, ACopyIsAnotherSong) {
  Song("a.flac", 1);
  Scan();
  const int32_t id = IdOf("a.flac");
  fs::copy(Path("a.flac"), Path("b.flac"));
  const ScanResult result = Scan();
  EXPECT_EQ(result.added, 1U);
  EXPECT_EQ(result.moved, 0U);
  EXPECT_EQ(IdOf("a.flac"), id);
  EXPECT_NE(IdOf("b.flac"), id);
}

TEST_F(Scanner, AnotherSongOfTheSameSizeInThePlaceOfAGoneOneIsNew) {
  Song("a.flac", 1);
  Song("keep.flac", 9);
  Scan();
  const int32_t id = IdOf("a.flac");
  fs::remove(Path("a.flac"));
  Song("b.flac", 2);
  const ScanResult result = Scan();
  EXPECT_EQ(result.added, 1U);
  EXPECT_EQ(result.gone, 1U);
  EXPECT_NE(IdOf("b.flac"), id);
}

TEST_F(Scanner, ALibraryThatIsMissingEmptyOrUnreadableKeepsItsSongs) {
  Song("a.flac", 1);
  Scan();
  const std::string away = folder_ / "away";
  fs::rename(library_.folder, away);
  const std::vector<std::pair<const char *, std::function<void()>>> states = {
      {"missing", [] {}},
      {"empty", [&] { fs::create_directory(library_.folder); }},
      {"only the folder that requests make", [&] { fs::create_directory(Path("playlists")); }},
      {"a file",
       [&] {
         fs::remove_all(library_.folder);
         WriteBytes(library_.folder, "");
       }},
      {"no absolute path", [&] { library_.folder = "relative"; }},
  };
  for (const auto &[description, make] : states) {
    make();
    output_.lines.clear();
    EXPECT_FALSE(Scan().complete) << description;
    EXPECT_THAT(output_.lines, Contains(HasSubstr("1 songs are kept"))) << description;
    EXPECT_THAT(index_->SongFiles(0), SizeIs(1)) << description;
  }
}

TEST_F(Scanner, AnEmptyLibraryIsForgottenWhenAskedTo) {
  Song("a.flac", 1);
  Scan();
  fs::remove(Path("a.flac"));
  options_.forget_all = true;
  const ScanResult result = Scan();
  EXPECT_TRUE(result.complete);
  EXPECT_EQ(result.gone, 1U);
  EXPECT_THAT(Indexed(), IsEmpty());
}

TEST_F(Scanner, AnEmptyLibraryWithoutSongsIsNoTrouble) {
  EXPECT_TRUE(Scan().complete);
  EXPECT_THAT(output_.lines, IsEmpty());
}

TEST_F(Scanner, AFileThatCannotBeReadIsSaidAndPassedOver) {
  File("junk.flac", "junk");
  Song("a.flac", 1);
  const ScanResult result = Scan();
  EXPECT_EQ(result.unreadable, 1U);
  EXPECT_EQ(result.added, 1U);
  EXPECT_THAT(output_.lines, ElementsAre(HasSubstr("junk.flac")));
  EXPECT_THAT(Indexed(), ElementsAre("a.flac"));
}

TEST_F(Scanner, ASongThatCannotBeReadNowIsKept) {
  Song("a.flac", 1);
  Scan();
  File("a.flac", "junk");
  EXPECT_EQ(Scan().unreadable, 1U);
  EXPECT_THAT(Indexed(), ElementsAre("a.flac"));
}

TEST_F(Scanner, AReaderThatCrashesCostsItsFileOnly) {
  for (uint64_t i = 0; i < 30; ++i) {
    Song(std::to_string(i) + ".flac", i + 1);
  }
  options_.tags.read = [](const std::string &path) {
    if (path.ends_with("/7.flac")) {
      _exit(1);
    }
    return ReadTags(path);
  };
  const ScanResult result = Scan();
  EXPECT_EQ(result.added, 29U);
  EXPECT_EQ(result.unreadable, 1U);
}

TEST_F(Scanner, SongsOfOtherLibrariesStay) {
  index::Song other;
  other.owner = 4;
  other.path = "/elsewhere";
  index_->WriteSongs({other}, {});
  Song("a.flac", 1);
  Scan();
  EXPECT_THAT(index_->SongFiles(4), SizeIs(1));
  library_.owner = 5;
  Scan();
  EXPECT_THAT(Indexed(), ElementsAre("a.flac"));
  EXPECT_THAT(index_->SongFiles(0), SizeIs(1));
}

TEST_F(Scanner, TheWorkIsShownAsItGoes) {
  Song("a.flac", 1);
  Song("b.flac", 2);
  Scan();
  EXPECT_THAT(output_.steps, ElementsAre(std::pair(1U, 2U), std::pair(2U, 2U)));
}

TEST_F(Scanner, PlaylistFilesWithoutARowGetTheirRow) {
  Song("a.flac", 1);
  File("playlists/one.m3u", "#EXTM3U\n");
  File("playlists/.hidden.m3u", "");
  File("playlists/sub/two.M3U", "");
  File("playlists/three.m3u8", "");
  File("playlists/notes.txt", "");
  File("elsewhere/four.m3u", "");
  EXPECT_EQ(Scan().playlists_added, 4U);
  std::vector<std::string> titles;
  for (const index::Playlist &row : index_->AllPlaylists(0)) {
    titles.push_back(row.title + "|" + row.album);
  }
  EXPECT_THAT(titles, UnorderedElementsAre("one|playlists", ".hidden|playlists", "two|sub",
                                           "three|playlists"));
  const auto row = index_->PlaylistByPath(0, Path("playlists/one.m3u"));
  ASSERT_TRUE(row);
  struct stat status {};
  ASSERT_EQ(stat(row->path.c_str(), &status), 0);
  EXPECT_EQ(row->size_bytes, 8U);
  EXPECT_EQ(row->modification_time, ctime(&status.st_mtim.tv_sec));
  EXPECT_EQ(row->change_time, ctime(&status.st_ctim.tv_sec));
}

TEST_F(Scanner, PlaylistRowsThatAreThereStay) {
  File("playlists/one.m3u", "");
  index::Playlist row;
  row.path = Path("playlists/one.m3u");
  row.title = "kept";
  const int32_t id = index_->AddPlaylist(row);
  row.path = Path("playlists/gone.m3u");
  index_->AddPlaylist(row);
  EXPECT_EQ(Scan().playlists_added, 0U);
  EXPECT_EQ(index_->PlaylistByPath(0, Path("playlists/one.m3u"))->title, "kept");
  EXPECT_EQ(index_->PlaylistByPath(0, Path("playlists/one.m3u"))->id, id);
  EXPECT_THAT(index_->AllPlaylists(0), SizeIs(2));
}

TEST_F(Scanner, WhatCouldNotBeReadIsNotTriedAgainUntilItChanges) {
  Song("a.flac", 1);
  File("no audio.mp3", "12345");
  File("crash.mp3", "");
  File("may pass.mp3", "");
  options_.tags.processes = 1;
  const auto scan = [&] {
    output_.lines.clear();
    options_.tags.read = [](const std::string &path) {
      if (path.ends_with("crash.mp3")) {
        _exit(1);
      }
      return path.ends_with("may pass.mp3") ? throw std::runtime_error("failed") : ReadTags(path);
    };
    return Scan();
  };
  EXPECT_EQ(scan().unreadable, 3U);
  EXPECT_THAT(output_.lines, SizeIs(3));
  EXPECT_EQ(scan().unreadable, 3U);
  EXPECT_THAT(output_.lines, ElementsAre(HasSubstr("may pass.mp3: failed")));
  File("no audio.mp3", FlacTitled("b"));
  fs::rename(Path("no audio.mp3"), Path("renamed.flac"));
  fs::remove(Path("crash.mp3"));
  const ScanResult result = scan();
  EXPECT_EQ(result.added, 1U);
  EXPECT_EQ(result.unreadable, 1U);
  EXPECT_THAT(index_->UnreadableFiles(0), IsEmpty());
}

TEST_F(Scanner, AHugeEmptyFileIsPassedOver) {
  Song("a.flac", 1);
  File("huge.mp3", "");
  fs::resize_file(Path("huge.mp3"), std::uintmax_t{1} << 40);
  options_.tags.processor_time = std::chrono::milliseconds(300);
  const ScanResult result = Scan();
  EXPECT_EQ(result.unreadable, 1U);
  EXPECT_THAT(output_.lines, ElementsAre(HasSubstr("it took too much time")));
  EXPECT_THAT(Indexed(), ElementsAre("a.flac"));
}

TEST_F(Scanner, ALibraryWithSongsGetsAFolderForPlaylists) {
  Scan();
  EXPECT_FALSE(fs::exists(Path("playlists"))) << "a disk may not be mounted there";
  Song("a.flac", 1);
  const mode_t old = umask(0);
  Scan();
  umask(old);
  EXPECT_EQ(fs::status(Path("playlists")).permissions(), fs::perms(0755));
}

TEST_F(Scanner, ARenamedPlaylistKeepsItsId) {
  File("playlists/old.m3u", "");
  File("playlists/removed.m3u", "");
  Scan();
  const int32_t id = index_->PlaylistByPath(0, Path("playlists/old.m3u"))->id;
  fs::create_directory(Path("playlists/sub"));
  fs::rename(Path("playlists/old.m3u"), Path("playlists/sub/new.m3u"));
  fs::remove(Path("playlists/removed.m3u"));
  const ScanResult result = Scan();
  EXPECT_EQ(result.playlists_added, 0U);
  EXPECT_EQ(result.playlists_renamed, 1U);
  const auto row = index_->PlaylistByPath(0, Path("playlists/sub/new.m3u"));
  ASSERT_TRUE(row);
  EXPECT_EQ(row->id, id);
  EXPECT_EQ(row->title, "new");
  EXPECT_EQ(row->album, "sub");
  EXPECT_TRUE(index_->PlaylistByPath(0, Path("playlists/removed.m3u"))) << "it may be back soon";
}

TEST_F(Scanner, APlaylistRowLearnsWhatItsFileTells) {
  File("playlists/a.m3u", "");
  Scan();
  File("playlists/new", "longer");
  fs::rename(Path("playlists/new"), Path("playlists/a.m3u"));
  Scan();
  const auto row = index_->PlaylistByPath(0, Path("playlists/a.m3u"));
  EXPECT_EQ(row->size_bytes, 6U);
  EXPECT_EQ(row->file, files::IdentityOf(Path("playlists/a.m3u")));
}

/// Removes a file when the walk has something to tell.
class RemovingOutput : public KeptOutput {
public:
  explicit RemovingOutput(std::string path) : path_(std::move(path)) {}
  void Line(const std::string &text) override {
    KeptOutput::Line(text);
    fs::remove(path_);
  }

private:
  std::string path_;
};

TEST_F(Scanner, APlaylistFileThatGoesDuringTheScanGetsNoRow) {
  File("playlists/gone.m3u", "");
  File("playlists/stays.m3u", "");
  File("playlists/sub/read later \xff.m3u", "");
  RemovingOutput output(Path("playlists/gone.m3u"));
  EXPECT_EQ(ScanLibrary(*index_, library_, options_, output).playlists_added, 1U);
  EXPECT_THAT(output.lines, ElementsAre(HasSubstr("its name is not UTF-8")));
  EXPECT_FALSE(index_->PlaylistByPath(0, Path("playlists/gone.m3u")));
  EXPECT_TRUE(index_->PlaylistByPath(0, Path("playlists/stays.m3u")));
}

TEST_F(Scanner, AFolderThatCannotBeReadKeepsItsSongs) {
  const index::SongFile kept{1, "/m/closed/a", 1, 1};
  const index::SongFile gone{2, "/m/closed too/a", 1, 1};
  Walk walk;
  walk.files = {{"/m/b", 1, 1, 1}};
  walk.unreadable = {"/m/closed"};
  const index::SongFile itself{3, "/m/closed", 1, 1};
  const SongChanges changes = CompareSongs(walk, {itself, gone, kept});
  ASSERT_THAT(changes.gone, SizeIs(1));
  EXPECT_EQ(changes.gone[0].id, 2);
  EXPECT_THAT(changes.to_read, SizeIs(1));
}

TEST(Summaries, OnlyWhatThereIsIsCounted) {
  ScanResult result;
  EXPECT_EQ(Summary(result), "no songs");
  result.added = 2;
  result.unchanged = 3;
  result.playlists_added = 1;
  EXPECT_EQ(Summary(result), "2 new, 3 unchanged, 1 playlist added");
  result = {1, 2, 3, 4, 5, 6, 7, 8};
  EXPECT_EQ(Summary(result), "1 new, 2 changed, 3 moved, 4 gone, 5 unchanged, 6 not readable, "
                             "7 playlists added, 8 playlists renamed");
}

} // namespace
} // namespace vexo::tools
