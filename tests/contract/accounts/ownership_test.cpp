#include "accounts/ownership.h"
#include "support/temporary_folder.h"
#include <filesystem>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vexo::accounts {
namespace {

uid_t OwnerOf(const std::string &path) {
  struct stat status {};
  EXPECT_EQ(stat(path.c_str(), &status), 0) << path;
  return status.st_uid;
}

TEST(Ownership, ANewFileBelongsToTheOwnerOfItsFolder) {
  constexpr uid_t kSomebody = 12345;
  const TemporaryFolder folder;
  const std::string place = folder / "place";
  std::filesystem::create_directory(place);
  if (geteuid() == 0) {
    ASSERT_EQ(chown(place.c_str(), kSomebody, kSomebody), 0);
  }
  MakeFileIfMissing(place + "/file");
  EXPECT_EQ(OwnerOf(place + "/file"), OwnerOf(place));
  EXPECT_EQ(std::filesystem::file_size(place + "/file"), 0U);
}

TEST(Ownership, AFileThatIsThereStaysAsItIs) {
  const TemporaryFolder folder;
  WriteBytes(folder / "file", "kept");
  MakeFileIfMissing(folder / "file");
  EXPECT_EQ(ReadBytes(folder / "file"), "kept");
}

TEST(Ownership, WithoutItsFolderNoFileIsMade) {
  const TemporaryFolder folder;
  MakeFileIfMissing(folder / "none/file");
  EXPECT_FALSE(std::filesystem::exists(folder / "none"));
}

} // namespace
} // namespace vexo::accounts
