#include "contract/files/files_test.h"
#include "files/file_io.h"
#include "files/temporary_file.h"
#include "support/faults.h"
#include "support/processes.h"
#include <fcntl.h>
#include <sstream>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vexo::files {
namespace {

namespace fs = std::filesystem;

TEST_F(Files, ReadingGivesEveryByte) {
  const std::string content("a\0b\r\n\xFF", 6);
  WriteBytes(path_, content);
  EXPECT_EQ(ReadWholeFile(path_), content);
}

TEST_F(Files, ReadingAnEmptyFileGivesNothing) {
  WriteBytes(path_, "");
  EXPECT_EQ(ReadWholeFile(path_), "");
}

TEST_F(Files, ReadingRefusesWhatIsNoFile) {
  fs::create_directory(folder_ / "folder");
  ASSERT_EQ(mkfifo((folder_ / "pipe").c_str(), 0600), 0);
  EXPECT_EQ(ErrorOf([&] { (void)ReadWholeFile(folder_ / "folder"); }), EISDIR);
  EXPECT_EQ(ErrorOf([&] { (void)ReadWholeFile(folder_ / "pipe"); }), EINVAL);
  EXPECT_EQ(ErrorOf([&] { (void)ReadWholeFile("/dev/zero"); }), EINVAL);
}

TEST_F(Files, ReadingWhereNoFileIsGivesNothing) {
  WriteBytes(path_, "");
  EXPECT_EQ(ReadWholeFile(folder_ / "none"), std::nullopt);
  EXPECT_EQ(ReadWholeFile(path_ + "/none"), std::nullopt);
}

TEST_F(Files, ReadingStopsAtTheLimit) {
  WriteBytes(path_, "12345");
  EXPECT_EQ(ReadWholeFile(path_, 5), "12345");
  EXPECT_EQ(ErrorOf([&] { (void)ReadWholeFile(path_, 4); }), EFBIG);
}

TEST_F(Files, ACreatedFileHoldsItsContentAlone) {
  EXPECT_TRUE(CreateDurably(path_, "content"));
  EXPECT_EQ(ReadBytes(path_), "content");
  EXPECT_EQ(Names(), Set{"list.m3u"});
}

TEST_F(Files, ACreatedFileHasTheModeThatTheUmaskLeaves) {
  const mode_t old = umask(027);
  EXPECT_TRUE(CreateDurably(path_, ""));
  umask(0);
  EXPECT_TRUE(CreateDurably(folder_ / "open", ""));
  EXPECT_TRUE(CreateUnsynced(folder_ / "unsynced", ""));
  umask(old);
  EXPECT_EQ(fs::status(path_).permissions(), fs::perms(0640));
  EXPECT_EQ(fs::status(folder_ / "open").permissions(), fs::perms(0664));
  EXPECT_EQ(fs::status(folder_ / "unsynced").permissions(), fs::perms(0664));
}

TEST_F(Files, CreationNeverReplacesWhatIsThere) {
  WriteBytes(path_, "old");
  EXPECT_FALSE(CreateDurably(path_, "new"));
  fs::create_symlink("nowhere", folder_ / "link");
  EXPECT_FALSE(CreateDurably(folder_ / "link", "new"));
  EXPECT_EQ(ReadBytes(path_), "old");
  EXPECT_EQ(Names(), (Set{"list.m3u", "link"}));
}

TEST_F(Files, CreationDoesNotReplaceAFileThatComesAtTheLastMoment) {
  faults::BeforeNextRename([&] { WriteBytes(path_, "other"); });
  EXPECT_FALSE(CreateDurably(path_, "new"));
  EXPECT_EQ(ReadBytes(path_), "other");
  EXPECT_EQ(Names(), Set{"list.m3u"});
}

TEST_F(Files, AnUnsyncedFileIsMadeOnceAndSyncedLater) {
  EXPECT_TRUE(CreateUnsynced(path_, "content"));
  EXPECT_FALSE(CreateUnsynced(path_, "other"));
  EXPECT_EQ(ReadBytes(path_), "content");
  SyncIfThere(path_);
  fs::remove(path_);
  SyncIfThere(path_);
  EXPECT_EQ(Names(), Set{});
  for (const int nth : {1, 2}) {
    EXPECT_TRUE(CreateUnsynced(path_, "content"));
    const faults::Fault fault(faults::Call::kSync, nth, EIO);
    EXPECT_EQ(ErrorOf([&] { SyncIfThere(path_); }), EIO);
    fs::remove(path_);
  }
}

TEST_F(Files, AnUnsyncedFileThatCannotBeWrittenIsNotThere) {
  const faults::Fault fault(faults::Call::kWrite, 1, ENOSPC);
  EXPECT_EQ(ErrorOf([&] { (void)CreateUnsynced(path_, "content"); }), ENOSPC);
  EXPECT_EQ(Names(), Set{});
}

TEST_F(Files, CreationWithoutAFolderFails) {
  EXPECT_EQ(ErrorOf([&] { (void)CreateDurably(folder_ / "none/list.m3u", ""); }), ENOENT);
}

TEST_F(Files, ANameOf255BytesIsWritten) {
  const std::string name(255, 'n');
  EXPECT_TRUE(CreateDurably(folder_ / name, "1"));
  ReplaceDurably(folder_ / name, "2");
  EXPECT_EQ(ReadBytes(folder_ / name), "2");
  EXPECT_EQ(ErrorOf([&] { (void)CreateDurably(folder_ / (name + "n"), ""); }), ENAMETOOLONG);
}

TEST_F(Files, ReplacementMakesTheFileOrKeepsItsMode) {
  ReplaceDurably(path_, "1", 0640);
  EXPECT_EQ(ReadBytes(path_), "1");
  fs::permissions(path_, fs::perms(0604));
  ReplaceDurably(path_, "2");
  EXPECT_EQ(ReadBytes(path_), "2");
  EXPECT_EQ(fs::status(path_).permissions(), fs::perms(0604));
  EXPECT_EQ(Names(), Set{"list.m3u"});
}

TEST_F(Files, AnEditGetsTheOldContentAndLeavesTheNew) {
  WriteBytes(path_, "abc");
  EXPECT_TRUE(EditTextDurably(path_, AppendX));
  EXPECT_EQ(ReadBytes(path_), "abcx");
  EXPECT_EQ(Names(), Set{"list.m3u"});
}

TEST_F(Files, AnEditThatGivesNothingLeavesTheFileItself) {
  WriteBytes(path_, "abc");
  struct stat before {
  }, after{};
  ASSERT_EQ(stat(path_.c_str(), &before), 0);
  EXPECT_TRUE(EditTextDurably(path_, [](std::string_view) { return std::nullopt; }));
  ASSERT_EQ(stat(path_.c_str(), &after), 0);
  EXPECT_EQ(before.st_ino, after.st_ino);
}

TEST_F(Files, AnEditThatThrowsChangesNothing) {
  WriteBytes(path_, "abc");
  EXPECT_THROW((void)EditTextDurably(path_,
                                     [](std::string_view) -> std::optional<std::string> {
                                       throw std::runtime_error("no");
                                     }),
               std::runtime_error);
  EXPECT_EQ(ReadBytes(path_), "abc");
  EXPECT_EQ(Names(), Set{"list.m3u"});
}

TEST_F(Files, AnEditOfAFileThatIsNotThereMakesNone) {
  EXPECT_FALSE(EditTextDurably(path_, AppendX));
  EXPECT_EQ(Names(), Set{});
}

TEST_F(Files, AnEditNeverGoesThroughALink) {
  TemporaryFolder elsewhere;
  WriteBytes(elsewhere / "secret", "secret");
  fs::create_symlink(elsewhere / "secret", path_);
  EXPECT_EQ(ErrorOf([&] { (void)EditTextDurably(path_, AppendX); }), ELOOP);
  EXPECT_EQ(ErrorOf([&] { ReplaceDurably(path_, "x"); }), ELOOP);
  EXPECT_EQ(ReadBytes(elsewhere / "secret"), "secret");
}

TEST_F(Files, AnEditOfPiecesPutsThemInOrder) {
  WriteBytes(path_, "abcdef");
  EXPECT_TRUE(EditDurably(path_, [](std::string_view content, const std::string &) {
    return Pieces{content.substr(4), "-", content.substr(0, 2), ""};
  }));
  EXPECT_EQ(ReadBytes(path_), "ef-ab");
}

TEST_F(Files, AnEditOfManyPiecesWritesThemAll) {
  std::string expected;
  for (int i = 0; i < 5000; ++i) {
    expected += std::to_string(i);
  }
  WriteBytes(path_, expected);
  EXPECT_TRUE(EditDurably(path_, [](std::string_view content, const std::string &) {
    Pieces pieces;
    for (std::size_t i = 0; i < content.size(); i += 3) {
      pieces.push_back(content.substr(i, 3));
    }
    return pieces;
  }));
  EXPECT_EQ(ReadBytes(path_), expected);
}

TEST_F(Files, AnEditOfLargePiecesWritesThemWhole) {
  std::string content;
  for (int i = 0; content.size() < std::size_t{5} << 20; ++i) {
    content += std::to_string(i);
  }
  WriteBytes(path_, "old");
  EXPECT_TRUE(EditDurably(path_, [&](std::string_view, const std::string &) {
    return Pieces{"head", content, "", content, "end"};
  }));
  EXPECT_TRUE(ReadBytes(path_) == "head" + content + content + "end"); // not printed
}

TEST_F(Files, AnEditThatIsNotVerifiedIsNotMade) {
  WriteBytes(path_, "old");
  bool is_made = false;
  EditOptions options;
  options.verify = [] { return false; };
  EXPECT_FALSE(EditDurably(
      path_,
      [&](std::string_view, const std::string &) {
        is_made = true;
        return Pieces{"new"};
      },
      options));
  EXPECT_FALSE(is_made);
  EXPECT_EQ(ReadBytes(path_), "old");
}

TEST_F(Files, AnEditKnowsThePathItWasGiven) {
  WriteBytes(path_, "old");
  std::string known;
  EXPECT_TRUE(EditDurably(path_, [&](std::string_view, const std::string &path) {
    known = path;
    return Pieces{"new"};
  }));
  EXPECT_EQ(known, path_);
}

TEST_F(Files, AnEditOrCreationDoesWhicheverItTakes) {
  const auto edit = [](std::string_view content, const std::string &) {
    return Pieces{content, "+"};
  };
  const auto create = [] { return std::string("new"); };
  EditOrCreateDurably(path_, edit, create);
  EXPECT_EQ(ReadBytes(path_), "new");
  EditOrCreateDurably(path_, edit, create);
  EXPECT_EQ(ReadBytes(path_), "new+");
}

TEST_F(Files, AnEditMeetsARenameAndBringsNoOldNameBack) {
  WriteBytes(path_, "abc");
  faults::BeforeNextRename([&] { fs::rename(path_, folder_ / "renamed.m3u"); });
  EXPECT_FALSE(EditTextDurably(path_, AppendX));
  EXPECT_EQ(Names(), Set{"renamed.m3u"});
  EXPECT_EQ(ReadBytes(folder_ / "renamed.m3u"), "abc");
}

TEST_F(Files, AnEditMeetsADeletionAndBringsNothingBack) {
  WriteBytes(path_, "abc");
  faults::BeforeNextRename([&] { fs::remove(path_); });
  EXPECT_FALSE(EditTextDurably(path_, AppendX));
  EXPECT_EQ(Names(), Set{});
}

TEST_F(Files, AnEditMeetsAReplacementAndBeginsAnewFromIt) {
  WriteBytes(path_, "abc");
  WriteBytes(folder_ / "other", "other");
  faults::BeforeNextRename([&] { fs::rename(folder_ / "other", path_); });
  EXPECT_TRUE(EditTextDurably(path_, AppendX));
  EXPECT_EQ(ReadBytes(path_), "otherx");
  EXPECT_EQ(Names(), Set{"list.m3u"});
}

TEST_F(Files, AnEditMeetsAWriteInPlaceAndBeginsAnewFromIt) {
  WriteBytes(path_, "abc");
  faults::BeforeNextRename([&] { WriteBytes(path_, "written by a player"); });
  EXPECT_TRUE(EditTextDurably(path_, AppendX));
  EXPECT_EQ(ReadBytes(path_), "written by a playerx");
  EXPECT_EQ(Names(), Set{"list.m3u"});
}

TEST_F(Files, WithoutExchangeAnEditReplacesByRename) {
  WriteBytes(path_, "abc");
  const faults::Fault fault(faults::Call::kRename, 1, EINVAL);
  EXPECT_TRUE(EditTextDurably(path_, AppendX));
  EXPECT_TRUE(faults::Fault::Happened());
  EXPECT_EQ(ReadBytes(path_), "abcx");
  EXPECT_EQ(Names(), Set{"list.m3u"});
}

TEST_F(Files, WithoutExclusiveRenameCreationIsStillExclusive) {
  {
    const faults::Fault fault(faults::Call::kRename, 1, EINVAL);
    EXPECT_TRUE(CreateDurably(path_, "new"));
    EXPECT_TRUE(faults::Fault::Happened());
  }
  const faults::Fault fault(faults::Call::kRename, 1, EINVAL);
  faults::BeforeNextRename([&] { WriteBytes(folder_ / "late", "other"); });
  EXPECT_FALSE(CreateDurably(folder_ / "late", "new"));
  EXPECT_EQ(ReadBytes(folder_ / "late"), "other");
  EXPECT_EQ(Names(), (Set{"list.m3u", "late"}));
}

TEST_F(Files, AFileSetAsideIsGoneAndComesBackUnlessItIsRemoved) {
  WriteBytes(path_, "abc");
  {
    const FileSetAside aside(path_);
    EXPECT_FALSE(fs::exists(path_));
  }
  EXPECT_EQ(ReadBytes(path_), "abc");
  FileSetAside(path_).Commit();
  EXPECT_EQ(Names(), Set{});
  EXPECT_EQ(ErrorOf([&] { FileSetAside aside(path_); }), ENOENT);
}

TEST_F(Files, AFileSetAsideIsLockedAsLongAsItMayComeBack) {
  WriteBytes(path_, "abc");
  const FileDescriptor other = OpenForLock(AT_FDCWD, path_.c_str());
  {
    const FileSetAside aside(path_);
    EXPECT_NE(flock(other.get(), LOCK_EX | LOCK_NB), 0);
    EXPECT_EQ(errno, EWOULDBLOCK);
  }
  EXPECT_EQ(flock(other.get(), LOCK_EX | LOCK_NB), 0);
  const FileSetAside locked_by_another(path_);
  EXPECT_FALSE(std::filesystem::exists(path_));
}

TEST_F(Files, AFileSetAsideDoesNotReplaceWhatCameMeanwhile) {
  WriteBytes(path_, "abc");
  {
    const FileSetAside aside(path_);
    WriteBytes(path_, "new");
  }
  EXPECT_EQ(ReadBytes(path_), "new");
}

TEST_F(Files, ALinkSetAsideIsTakenAwayItself) {
  WriteBytes(folder_ / "target", "abc");
  fs::create_symlink("target", path_);
  FileSetAside(path_).Commit();
  EXPECT_EQ(Names(), Set{"target"});
}

TEST(TemporaryNames, AreToldFromOthers) {
  EXPECT_TRUE(IsTemporaryName(".vexo-1-2-3-4.tmp"));
  for (const char *name : {"", ".vexo-.tmp", ".vexo-1.m3u", "vexo-1.tmp", "list.m3u", ".tmp"}) {
    EXPECT_FALSE(IsTemporaryName(name)) << name;
  }
}

/// The name of a young temporary file of that process.
std::string TemporaryNameOf(pid_t process) {
  std::ostringstream name;
  name << ".vexo-" << std::hex << process << "-1-2-3.tmp";
  return name.str();
}

TEST_F(Files, ATemporaryFileIsRemovedOnlyWhenItsWriterIsGone) {
  const std::string living = TemporaryNameOf(getpid()), dead = TemporaryNameOf(EndedProcess());
  for (const std::string &name : {living, dead, std::string("list.m3u")}) {
    WriteBytes(folder_ / name, "");
    EXPECT_EQ(RemoveAbandonedTemporary(folder_ / name), name == dead) << name;
  }
  EXPECT_FALSE(RemoveAbandonedTemporary(folder_ / dead));
  EXPECT_EQ(Names(), (Set{"list.m3u", living}));
}

} // namespace
} // namespace vexo::files
