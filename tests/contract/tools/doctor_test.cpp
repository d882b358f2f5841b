#include "accounts/accounts.h"
#include "contract/tools/kept_output.h"
#include "index/media_index.h"
#include "playlistctl/doctor/doctor.h"
#include "playlistctl/scan/library.h"
#include "playlistctl/scan/playlist_rows.h"
#include "support/device_root.h"
#include "support/processes.h"

#include <fcntl.h>
#include <filesystem>
#include <gmock/gmock.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vexo::tools {
namespace {

namespace fs = std::filesystem;
using index::Playlist;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;

class Doctor : public DeviceRootTest {
protected:
  void SetUp() override {
    DeviceRootTest::SetUp();
    WriteBytes(library() + "/a song.mp3", "");
    index_ = index::OpenMediaIndex();
  }

  std::size_t Examine(bool repair = false) {
    output_.lines.clear();
    return ExamineHost({repair, std::chrono::milliseconds(0)}, output_);
  }

  /// Expects one finding, in one line with `what`, that is told again until it is mended.
  void ExpectMended(const std::string &what) {
    EXPECT_EQ(Examine(), 1U);
    EXPECT_THAT(output_.lines, ElementsAre(HasSubstr(what)));
    EXPECT_EQ(Examine(), 1U);
    EXPECT_EQ(Examine(true), 0U);
    EXPECT_THAT(output_.lines, ElementsAre(HasSubstr("mended: ")));
    EXPECT_EQ(Examine(), 0U);
    EXPECT_THAT(output_.lines, IsEmpty());
  }

  static std::string PlaylistPath(const std::string &name) {
    return library() + "/playlists/" + name + ".m3u";
  }

  /// The row of a playlist file as it should be.
  static Playlist RowFor(const std::string &name, int owner = 0) {
    KeptOutput output;
    const Library shared{owner, "shared", library()};
    for (const FoundFile &file : FindPlaylistFiles(shared, output).files) {
      if (file.path == PlaylistPath(name)) {
        return RowOf(shared, file);
      }
    }
    Playlist row;
    row.path = PlaylistPath(name);
    row.title = name;
    row.album = "playlists";
    return row;
  }

  int32_t AddWithRow(const std::string &name) {
    WriteBytes(PlaylistPath(name), "#EXTM3U\n");
    return index_->AddPlaylist(RowFor(name));
  }

  /// The number of a process that is no more.
  static std::string DeadProcess() {
    std::ostringstream text;
    text << std::hex << EndedProcess();
    return text.str();
  }

  static std::string TemporaryName(const std::string &process) {
    return ".vexo-" + process + "-5-6-7.tmp";
  }

  std::unique_ptr<index::MediaIndex> index_;
  KeptOutput output_;
};

TEST_F(Doctor, ASoundHostHasNoFindings) {
  AddWithRow("a");
  EXPECT_EQ(Examine(), 0U);
  EXPECT_THAT(output_.lines, IsEmpty());
}

TEST_F(Doctor, AFileWithoutARowGetsIt) {
  WriteBytes(PlaylistPath("a"), "#EXTM3U\n");
  ExpectMended(PlaylistPath("a") + " has no row");
  const auto row = index_->PlaylistByPath(0, PlaylistPath("a"));
  ASSERT_TRUE(row);
  EXPECT_EQ(row->title, "a");
  EXPECT_EQ(row->album, "playlists");
  EXPECT_EQ(row->size_bytes, 8U);
}

TEST_F(Doctor, ARowWithoutAFileIsRemoved) {
  AddWithRow("a");
  fs::remove(PlaylistPath("a"));
  ExpectMended("has no file: " + PlaylistPath("a"));
  EXPECT_THAT(index_->AllPlaylists(0), IsEmpty());
}

TEST_F(Doctor, ARenameThatWasCutShortIsFinishedAndTheRowKeepsItsId) {
  const int32_t id = AddWithRow("old");
  fs::rename(PlaylistPath("old"), PlaylistPath("new"));
  ExpectMended(PlaylistPath("new") + " was renamed");
  const auto row = index_->PlaylistByPath(0, PlaylistPath("new"));
  ASSERT_TRUE(row);
  EXPECT_EQ(row->id, id);
  EXPECT_EQ(row->title, "new");
}

TEST_F(Doctor, ARowFollowsItsFileThatWasEditedAndRenamed) {
  const int32_t id = AddWithRow("old");
  fs::rename(PlaylistPath("old"), PlaylistPath("new"));
  std::ofstream(PlaylistPath("new"), std::ios::app) << "/a song\n";
  ExpectMended(PlaylistPath("new") + " was renamed");
  const auto row = index_->PlaylistByPath(0, PlaylistPath("new"));
  EXPECT_EQ(row->id, id);
  EXPECT_EQ(row->size_bytes, 16U);
}

TEST_F(Doctor, AnEqualListDoesNotTakeTheIdOfOneThatWasRemoved) {
  AddWithRow("gone");
  AddWithRow("twin");
  fs::copy_file(PlaylistPath("twin"), PlaylistPath("copy"));
  for (const char *const name : {"gone", "twin", "copy"}) {
    fs::last_write_time(PlaylistPath(name), fs::file_time_type());
    if (auto row = index_->PlaylistByPath(0, PlaylistPath(name))) {
      ASSERT_TRUE(index_->UpdatePlaylist(0, row->id, RowFor(name)));
    }
  }
  const int32_t gone = index_->PlaylistByPath(0, PlaylistPath("gone"))->id;
  const int32_t twin = index_->PlaylistByPath(0, PlaylistPath("twin"))->id;
  fs::remove(PlaylistPath("gone"));
  EXPECT_EQ(Examine(true), 0U);
  EXPECT_THAT(output_.lines, ElementsAre(HasSubstr("has no file"), HasSubstr("has no row")));
  EXPECT_THAT(index_->PlaylistsById(0, {gone}), IsEmpty());
  EXPECT_EQ(index_->PlaylistByPath(0, PlaylistPath("twin"))->id, twin);
  EXPECT_GT(index_->PlaylistByPath(0, PlaylistPath("copy"))->id, twin);
}

TEST_F(Doctor, ListsThatChangedNamesKeepTheirIds) {
  const int32_t a = AddWithRow("a"), b = AddWithRow("b"), c = AddWithRow("c");
  fs::rename(PlaylistPath("c"), PlaylistPath("d"));
  fs::rename(PlaylistPath("b"), PlaylistPath("c"));
  fs::rename(PlaylistPath("a"), PlaylistPath("b"));
  fs::rename(PlaylistPath("d"), PlaylistPath("a"));
  EXPECT_EQ(Examine(), 3U);
  EXPECT_EQ(Examine(true), 0U);
  EXPECT_EQ(Examine(), 0U);
  EXPECT_THAT(output_.lines, IsEmpty());
  EXPECT_EQ(index_->PlaylistByPath(0, PlaylistPath("b"))->id, a);
  EXPECT_EQ(index_->PlaylistByPath(0, PlaylistPath("c"))->id, b);
  EXPECT_EQ(index_->PlaylistByPath(0, PlaylistPath("a"))->id, c);
}

TEST_F(Doctor, AListThatWasMovedOverAnotherKeepsItsId) {
  const int32_t a = AddWithRow("a"), b = AddWithRow("b");
  fs::rename(PlaylistPath("a"), PlaylistPath("b"));
  ExpectMended(PlaylistPath("b") + " was renamed");
  EXPECT_EQ(index_->PlaylistByPath(0, PlaylistPath("b"))->id, a);
  EXPECT_THAT(index_->PlaylistsById(0, {b}), IsEmpty());
}

TEST_F(Doctor, AFileThatAnotherProgramPutsInPlaceIsStillTheSameList) {
  const int32_t id = AddWithRow("a");
  WriteBytes(PlaylistPath("new"), "#EXTM3U\n/a song\n");
  fs::rename(PlaylistPath("new"), PlaylistPath("a"));
  EXPECT_EQ(Examine(true), 0U);
  EXPECT_THAT(output_.lines, ElementsAre(HasSubstr("size, time or identity")));
  EXPECT_EQ(index_->PlaylistByPath(0, PlaylistPath("a"))->id, id);
}

TEST_F(Doctor, OfTwoLinksOfOneFileEachHasItsRow) {
  const int32_t a = AddWithRow("a");
  fs::create_hard_link(PlaylistPath("a"), PlaylistPath("b"));
  ExpectMended(PlaylistPath("b") + " has no row");
  EXPECT_EQ(index_->PlaylistByPath(0, PlaylistPath("a"))->id, a);
}

/// A row as it was before rows told the identity of their files.
class OldRows : public Doctor {
protected:
  int32_t AddOld(const std::string &name) {
    const int32_t id = AddWithRow(name);
    Playlist row = RowFor(name);
    row.file = {};
    EXPECT_TRUE(index_->UpdatePlaylist(0, id, row));
    return id;
  }
};

TEST_F(OldRows, AreFoundBySizeAndTime) {
  const int32_t id = AddOld("a");
  fs::rename(PlaylistPath("a"), PlaylistPath("b"));
  ExpectMended(PlaylistPath("b") + " was renamed");
  EXPECT_EQ(index_->PlaylistByPath(0, PlaylistPath("b"))->id, id);
}

TEST_F(OldRows, AreNotGuessedAt) {
  for (const char *const name : {"a", "b"}) {
    WriteBytes(PlaylistPath(name), "#EXTM3U\n");
    fs::last_write_time(PlaylistPath(name), fs::file_time_type());
    Playlist row = RowFor(name);
    row.file = {};
    index_->AddPlaylist(row);
  }
  fs::rename(PlaylistPath("a"), PlaylistPath("c"));
  fs::remove(PlaylistPath("b"));
  EXPECT_EQ(Examine(), 3U);
  EXPECT_THAT(output_.lines, ElementsAre(HasSubstr("has no file"), HasSubstr("has no file"),
                                         HasSubstr("has no row")));
}

TEST_F(Doctor, ATitleThatIsNotTheFilesNameIsMended) {
  const int32_t id = AddWithRow("a");
  Playlist row = RowFor("a");
  row.title = "b";
  ASSERT_TRUE(index_->UpdatePlaylist(0, id, row));
  ExpectMended("is called \"b\"");
  EXPECT_EQ(index_->PlaylistByPath(0, PlaylistPath("a"))->title, "a");
}

TEST_F(Doctor, ATitleWithTheFolderBelowIsTheFilesName) {
  fs::create_directory(library() + "/playlists/sub");
  AddWithRow("sub/a");
  Playlist row = RowFor("sub/a");
  row.title = "sub/a";
  ASSERT_TRUE(index_->UpdatePlaylist(0, PlaylistPath("sub/a"), row));
  EXPECT_EQ(Examine(), 0U);
}

TEST_F(Doctor, AnotherSizeOrTimeIsNoDamageButMended) {
  const int32_t id = AddWithRow("a");
  Playlist row = RowFor("a");
  row.size_bytes = 0;
  ASSERT_TRUE(index_->UpdatePlaylist(0, id, row));
  EXPECT_EQ(Examine(), 0U);
  EXPECT_THAT(output_.lines, ElementsAre(HasSubstr("note: ")));
  EXPECT_EQ(Examine(true), 0U);
  EXPECT_EQ(index_->PlaylistByPath(0, PlaylistPath("a"))->size_bytes, 8U);
  EXPECT_EQ(Examine(), 0U);
  EXPECT_THAT(output_.lines, IsEmpty());
}

/// Does something when the first finding is mended.
class ActingOutput : public KeptOutput {
public:
  explicit ActingOutput(std::function<void()> act) : act_(std::move(act)) {}
  void Line(const std::string &text) override {
    KeptOutput::Line(text);
    if (lines.size() == 1) {
      act_();
    }
  }

private:
  std::function<void()> act_;
};

TEST_F(Doctor, APlaylistThatIsRenamedDuringTheRepairKeepsItsNewName) {
  AddWithRow("a");
  const int32_t id = AddWithRow("b");
  for (const char *name : {"a", "b"}) {
    WriteBytes(PlaylistPath(name), "#EXTM3U\n/a song\n");
  }
  ActingOutput output([&] {
    fs::rename(PlaylistPath("b"), PlaylistPath("new"));
    ASSERT_TRUE(index_->UpdatePlaylist(0, id, RowFor("new")));
  });
  ExamineHost({true, std::chrono::milliseconds(0)}, output);
  EXPECT_THAT(output.lines, ElementsAre(HasSubstr("mended: "), HasSubstr("moved or removed")));
  EXPECT_EQ(index_->PlaylistsById(0, {id}).at(0).path, PlaylistPath("new"));
  EXPECT_EQ(Examine(), 0U);
}

TEST_F(Doctor, SeveralFindingsAreALineEach) {
  WriteBytes(PlaylistPath("a"), "");
  WriteBytes(PlaylistPath("b"), "");
  AddWithRow("c");
  fs::remove(PlaylistPath("c"));
  EXPECT_EQ(Examine(), 3U);
  EXPECT_THAT(output_.lines, SizeIs(3));
  EXPECT_EQ(Examine(true), 0U);
  EXPECT_THAT(index_->AllPlaylists(0), SizeIs(2));
}

TEST_F(Doctor, ALibraryThatIsNotMountedKeepsItsRows) {
  AddWithRow("a");
  fs::rename(library(), library() + ".away");
  for (const bool there : {false, true}) {
    if (there) {
      fs::create_directory(library());
    }
    EXPECT_EQ(Examine(true), 1U);
    EXPECT_THAT(output_.lines, ElementsAre(HasSubstr("empty or cannot be read")));
    EXPECT_THAT(index_->AllPlaylists(0), SizeIs(1));
  }
}

TEST_F(Doctor, AFolderOfPlaylistsThatCannotBeReadKeepsItsRows) {
  AddWithRow("a");
  fs::remove_all(library() + "/playlists");
  WriteBytes(library() + "/playlists", "a file");
  EXPECT_EQ(Examine(true), 1U);
  EXPECT_THAT(output_.lines, ElementsAre(HasSubstr("not mended: shared: ")));
  EXPECT_THAT(index_->AllPlaylists(0), SizeIs(1));
}

TEST_F(Doctor, PersonalLibrariesAreExaminedToo) {
  accounts::Account account;
  account.name = "anna";
  account.personal_library = true;
  const int id = accounts::AddAccount(account);
  const std::string folder = accounts::FindAccount("anna")->personal_folder;
  fs::create_directories(folder + "/playlists");
  WriteBytes(folder + "/playlists/mine.m3u", "");
  ExpectMended("anna: " + folder + "/playlists/mine.m3u has no row");
  EXPECT_THAT(index_->AllPlaylists(id), SizeIs(1));
  EXPECT_THAT(index_->AllPlaylists(0), IsEmpty());
}

TEST_F(Doctor, TemporaryFilesOfWritersThatAreGoneAreRemoved) {
  accounts::Account account;
  account.name = "ben";
  accounts::AddAccount(account);
  const std::string preference = accounts::FindAccount("ben")->preference_folder + "/playlists";
  fs::create_directories(preference);
  for (const std::string &folder :
       {library() + "/playlists", preference, std::string(DEVICE_ROOT "/etc"),
        std::string(DEVICE_ROOT "/etc/vexo"), std::string(system::kTemporary)}) {
    const std::string file = folder + "/" + TemporaryName(DeadProcess());
    WriteBytes(file, "half");
    ExpectMended("a writer that is gone has left " + file);
    EXPECT_FALSE(fs::exists(file));
  }
}

TEST_F(Doctor, OnlyFilesAreTakenForTemporaryFiles) {
  fs::create_directory(system::kTemporary + ("/" + TemporaryName(DeadProcess())));
  EXPECT_EQ(Examine(), 0U);
  EXPECT_THAT(output_.lines, IsEmpty());
}

TEST_F(Doctor, RowsOfAnAccountThatIsGoneAreForgotten) {
  accounts::Account account;
  account.personal_library = true;
  index::Song song;
  for (const char *const name : {"anna", "ben"}) {
    account.name = name;
    song.owner = accounts::AddAccount(account);
    song.path = DEVICE_ROOT "/a song.mp3";
    index_->WriteSongs({song}, {});
  }
  const int anna = accounts::FindAccount("anna")->id;
  WriteBytes(accounts::FindAccount("ben")->personal_folder + "/a song.mp3", "");
  Playlist row = RowFor("a");
  row.owner = anna;
  index_->AddPlaylist(row);
  accounts::RemoveAccount("anna");
  ExpectMended("rows of the account " + std::to_string(anna) + ", which is gone");
  EXPECT_THAT(index_->SongFiles(anna), IsEmpty());
  EXPECT_THAT(index_->AllPlaylists(anna), IsEmpty());
  EXPECT_THAT(index_->SongFiles(song.owner), SizeIs(1));
}

TEST_F(Doctor, TemporaryFilesInUseStay) {
  std::ostringstream self;
  self << std::hex << getpid();
  const std::string of_a_live_process = library() + "/playlists/" + TemporaryName(self.str());
  WriteBytes(of_a_live_process, "");
  const std::string locked = library() + "/playlists/" + TemporaryName(DeadProcess());
  WriteBytes(locked, "");
  const int fd = open(locked.c_str(), O_RDONLY);
  ASSERT_EQ(flock(fd, LOCK_EX), 0);
  EXPECT_EQ(Examine(true), 0U);
  EXPECT_TRUE(fs::exists(of_a_live_process));
  EXPECT_TRUE(fs::exists(locked));
  close(fd);
}

TEST_F(Doctor, WorkingFoldersOfKilledDownloadsAreRemovedWithTheirLinksOnly) {
  const std::string working = DEVICE_ROOT "/tmp/audiodlAb3xYz";
  fs::create_directory(working);
  fs::create_symlink(library() + "/a song.mp3", working + "/a song.mp3");
  fs::create_directory_symlink(library(), working + "/library");
  WriteBytes(working + "/playlist.m3u", "");
  ExpectMended("a download that was killed has left " + working);
  EXPECT_FALSE(fs::exists(working));
  EXPECT_TRUE(fs::exists(library() + "/a song.mp3"));
}

TEST_F(Doctor, AWorkingFolderThatAProcessWorksInStays) {
  const std::string working = DEVICE_ROOT "/tmp/audiodlAb3xYz";
  fs::create_directory(working);
  const fs::path before = fs::current_path();
  fs::current_path(working);
  EXPECT_EQ(Examine(true), 0U);
  fs::current_path(before);
  EXPECT_TRUE(fs::exists(working));
}

TEST_F(Doctor, OnlyFoldersWithSuchNamesAreTakenForWorkingFolders) {
  for (const char *name : {"audiodl", "audiodlAb3xY", "audiodlAb3xYz1", "audiodl-b3xYz",
                           "xaudiodlAb3xYz", "audiofAb3xYz"}) {
    fs::create_directory(std::string(DEVICE_ROOT "/tmp/") + name);
  }
  WriteBytes(DEVICE_ROOT "/tmp/audiodlAb3xYy", "a file");
  fs::create_directory_symlink(library(), DEVICE_ROOT "/tmp/audiodlAb3xYx");
  EXPECT_EQ(Examine(true), 0U);
  EXPECT_TRUE(fs::exists(DEVICE_ROOT "/tmp/audiodlAb3xYx/a song.mp3"));
}

TEST_F(Doctor, AnIndexThatCannotBeOpenedIsAFindingAndTheRestIsExamined) {
  index_.reset();
  for (const char *suffix : {"", "-wal", "-shm"}) {
    fs::remove(std::string(system::kIndexFile) + suffix);
  }
  WriteBytes(system::kIndexFile, std::string(5000, 'x'));
  fs::create_directory(DEVICE_ROOT "/tmp/audiodlAb3xYz");
  EXPECT_EQ(Examine(), 2U);
  EXPECT_EQ(Examine(true), 1U);
  EXPECT_EQ(ReadBytes(system::kIndexFile), std::string(5000, 'x'));
}

} // namespace
} // namespace vexo::tools
