#include "contract/files/files_test.h"
#include "files/file_identity.h"
#include <filesystem>

namespace vexo::files {
namespace {

namespace fs = std::filesystem;
class Identity : public Files {};

TEST_F(Identity, ARenameKeepsIt) {
  WriteBytes(folder_ / "a", "1");
  const FileIdentity a = IdentityOf(folder_ / "a");
  EXPECT_NE(a.inode, 0U);
  EXPECT_NE(a.born_ns, 0);
  fs::create_directory(folder_ / "sub");
  fs::rename(folder_ / "a", folder_ / "sub/b");
  EXPECT_EQ(IdentityOf(folder_ / "sub/b"), a);
}

TEST_F(Identity, ACopyHasAnother) {
  WriteBytes(folder_ / "a", "1");
  fs::copy_file(folder_ / "a", folder_ / "b");
  EXPECT_NE(IdentityOf(folder_ / "b"), IdentityOf(folder_ / "a"));
}

TEST_F(Identity, ALinkHasItsOwn) {
  WriteBytes(folder_ / "a", "1");
  fs::create_symlink(folder_ / "a", folder_ / "b");
  EXPECT_NE(IdentityOf(folder_ / "b"), IdentityOf(folder_ / "a"));
}

TEST_F(Identity, WhatIsNotThereHasNone) { EXPECT_EQ(IdentityOf(folder_ / "a"), FileIdentity()); }

TEST(IdentityFacts, WithoutATimeOfBirthThatOfTheLastWriteCounts) {
  struct statx facts {};
  facts.stx_mask = STATX_INO | STATX_MTIME;
  facts.stx_ino = 7;
  facts.stx_mtime.tv_sec = 3;
  facts.stx_mtime.tv_nsec = 4;
  EXPECT_EQ(IdentityOf(facts), (FileIdentity{7, 3'000'000'004}));
  facts.stx_mask |= STATX_BTIME;
  facts.stx_btime.tv_sec = 2;
  EXPECT_EQ(IdentityOf(facts), (FileIdentity{7, 2'000'000'000}));
}

} // namespace
} // namespace vexo::files
