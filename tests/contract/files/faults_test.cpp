// What a reader sees after a call to the operating system failed, or after the process was killed.
#include "contract/files/files_test.h"
#include "files/temporary_file.h"
#include "support/faults.h"

namespace vexo::files {
namespace {

using faults::Call;

struct Row {
  const char *description;
  Call call;
  int nth, error;
};

constexpr Row kFaults[] = {
    {"the folder cannot be opened", Call::kOpen, 1, EACCES},
    {"the file cannot be opened", Call::kOpen, 2, EMFILE},
    {"no temporary file can be made", Call::kOpen, 3, EROFS},
    {"the file cannot be locked", Call::kLock, 1, ENOLCK},
    {"the temporary file cannot be locked", Call::kLock, 2, ENOLCK},
    {"the disk is full", Call::kWrite, 1, ENOSPC},
    {"the quota is reached", Call::kWrite, 1, EDQUOT},
    {"the content cannot be synced", Call::kSync, 1, EIO},
    {"the folder cannot be synced", Call::kSync, 2, EIO},
    {"the exchange is not allowed", Call::kRename, 1, EPERM},
};

TEST_F(Files, AFailedEditLeavesTheOldContentAndNothingElse) {
  for (const Row &row : kFaults) {
    WriteBytes(path_, "abc");
    const faults::Fault fault(row.call, row.nth, row.error);
    EXPECT_EQ(ErrorOf([&] { (void)EditTextDurably(path_, AppendX); }), row.error)
        << row.description;
    EXPECT_TRUE(faults::Fault::Happened()) << row.description;
    EXPECT_EQ(ReadBytes(path_), "abc") << row.description;
    EXPECT_EQ(Names(), Set{"list.m3u"}) << row.description;
  }
}

TEST_F(Files, AFailedCreationLeavesNothing) {
  for (const Row &row : {Row{"the folder cannot be opened", Call::kOpen, 1, EACCES},
                         Row{"no temporary file can be made", Call::kOpen, 2, EROFS},
                         Row{"the temporary file cannot be locked", Call::kLock, 1, ENOLCK},
                         Row{"the disk is full", Call::kWrite, 1, ENOSPC},
                         Row{"the content cannot be synced", Call::kSync, 1, EIO},
                         Row{"the folder cannot be synced", Call::kSync, 2, EIO},
                         Row{"the rename is not allowed", Call::kRename, 1, EPERM}}) {
    const faults::Fault fault(row.call, row.nth, row.error);
    EXPECT_EQ(ErrorOf([&] { (void)CreateDurably(path_, "abc"); }), row.error) << row.description;
    EXPECT_TRUE(faults::Fault::Happened()) << row.description;
    EXPECT_EQ(Names(), Set{}) << row.description;
  }
}

TEST_F(Files, AFailureToTakeAFileAwayLeavesIt) {
  for (const Row &row : {Row{"the folder cannot be opened", Call::kOpen, 1, EACCES},
                         Row{"the rename is not allowed", Call::kRename, 1, EPERM},
                         Row{"the folder cannot be synced", Call::kSync, 1, EIO},
                         Row{"the file cannot be removed", Call::kUnlink, 1, EPERM}}) {
    WriteBytes(path_, "abc");
    const faults::Fault fault(row.call, row.nth, row.error);
    EXPECT_EQ(ErrorOf([&] { FileSetAside(path_).Commit(); }), row.error) << row.description;
    EXPECT_EQ(ReadBytes(path_), "abc") << row.description;
    EXPECT_EQ(Names(), Set{"list.m3u"}) << row.description;
  }
}

TEST_F(Files, InterruptedAndShortCallsGoOn) {
  for (const Row &row : {Row{"an interrupted lock", Call::kLock, 1, EINTR},
                         Row{"an interrupted write", Call::kWrite, 1, EINTR},
                         Row{"a short write", Call::kWrite, 1, faults::kShort}}) {
    WriteBytes(path_, "abcdefg");
    const faults::Fault fault(row.call, row.nth, row.error);
    EXPECT_TRUE(EditTextDurably(path_, AppendX));
    EXPECT_TRUE(faults::Fault::Happened()) << row.description;
    EXPECT_EQ(ReadBytes(path_), "abcdefgx") << row.description;
  }
}

TEST_F(Files, AFolderThatKnowsNoSyncIsNoFailure) {
  WriteBytes(path_, "abc");
  const faults::Fault fault(Call::kSync, 2, EINVAL);
  EXPECT_TRUE(EditTextDurably(path_, AppendX));
  EXPECT_EQ(ReadBytes(path_), "abcx");
}

TEST_F(Files, AnEditKilledAnywhereLeavesTheOldOrTheNewContent) {
  std::set<std::string> seen;
  int step = 1;
  for (bool killed = true; killed; ++step) {
    WriteBytes(path_, "abc");
    killed = faults::KilledAt(step, [&] { (void)EditTextDurably(path_, AppendX); });
    seen.insert(ReadBytes(path_));
    for (const std::string &name : Names()) {
      EXPECT_TRUE(name == "list.m3u" || IsTemporaryName(name)) << name;
    }
  }
  EXPECT_GT(step, 8);
  EXPECT_EQ(seen, (Set{"abc", "abcx"}));
}

TEST_F(Files, ACreationKilledAnywhereLeavesNothingOrTheWholeFile) {
  for (int step = 1, killed = 1; killed != 0; ++step) {
    std::filesystem::remove(path_);
    killed = faults::KilledAt(step, [&] { (void)CreateDurably(path_, "content"); }) ? 1 : 0;
    if (std::filesystem::exists(path_)) {
      EXPECT_EQ(ReadBytes(path_), "content");
    } else {
      EXPECT_EQ(killed, 1);
    }
  }
}

} // namespace
} // namespace vexo::files
