// Covers: what the program that makes them has written, where they are kept, and which song has
// which.
#include "media/cover_answer.h"
#include "media/cover_table.h"
#include "media/kept_covers.h"
#include "media/picture_beside.h"
#include "support/temporary_folder.h"
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace vexo::media {
namespace {

const std::string kHash = "00112233445566778899aabbccddeeff";

TEST(MadeCovers, AreParted) {
  const std::string bytes = kHash + " 3 2 1\naaabbc";
  const std::optional<MadeCovers> covers = ParseCovers(bytes);
  ASSERT_TRUE(covers);
  EXPECT_EQ(covers->hash, kHash);
  EXPECT_EQ(covers->jpegs, (std::array<std::string_view, 3>{"aaa", "bb", "c"}));
}

TEST(MadeCovers, OfAnotherFormAreNone) {
  for (const std::string &bytes :
       {std::string(), kHash, kHash + " 1 1 1\n", kHash + " 1 1 1\nab", kHash + " 1 1 1\nabcd",
        kHash + " 1 1\nabc", kHash + " 1 1 1 1\nabcd", kHash + " 0 1 1\nab", kHash + " -1 1 1\nabc",
        kHash + " 9223372036854775807 1 1\nabc", kHash + "1 1 1 1\nabc",
        "../" + kHash.substr(3) + " 1 1 1\nabc", kHash + "  1 1 1\nabc"}) {
    EXPECT_FALSE(ParseCovers(bytes)) << bytes;
  }
}

TEST(CoverHash, IsOfSmallHexadecimalDigits) {
  EXPECT_TRUE(IsCoverHash(kHash));
  for (const std::string &text : {kHash.substr(1), kHash + "0", "G" + kHash.substr(1),
                                  "A" + kHash.substr(1), std::string(32, '/'), std::string()}) {
    EXPECT_FALSE(IsCoverHash(text)) << text;
  }
}

std::string Kept(const TemporaryFolder &folder, const CoverName &name, int size) {
  const files::FileDescriptor file = OpenCover(folder.path(), name, size);
  return file ? ReadBytes("/proc/self/fd/" + std::to_string(file.get())) : "";
}

TEST(KeptCovers, AreFoundByLibraryHashAndSize) {
  const TemporaryFolder folder;
  constexpr uint64_t kPlenty = 1 << 30;
  ASSERT_TRUE(KeepCover(folder.path(), {0, kHash}, 96, "small", kPlenty));
  ASSERT_TRUE(KeepCover(folder.path(), {0, kHash}, 320, "large", kPlenty));
  ASSERT_TRUE(KeepCover(folder.path(), {7, kHash}, 96, "other", kPlenty));
  ASSERT_TRUE(KeepCover(folder.path(), {0, kHash}, 96, "small", kPlenty)) << "again";
  EXPECT_EQ(Kept(folder, {0, kHash}, 96), "small");
  EXPECT_EQ(Kept(folder, {0, kHash}, 320), "large");
  EXPECT_EQ(Kept(folder, {7, kHash}, 96), "other");
  EXPECT_EQ(Kept(folder, {7, kHash}, 320), "");
  EXPECT_EQ(Kept(folder, {0, std::string(32, 'a')}, 96), "");
}

TEST(KeptCovers, GiveWayToNewerOnes) {
  const TemporaryFolder folder;
  constexpr uint64_t kShare = 1000, kMost = 256 * kShare;
  const std::string cover(300, 'x');
  for (int number = 0; number < 10; ++number) {
    const std::string hash = kHash.substr(0, 31) + std::to_string(number);
    ASSERT_TRUE(KeepCover(folder.path(), {0, hash}, 96, cover, kMost));
    EXPECT_EQ(Kept(folder, {0, hash}, 96), cover);
    usleep(10'000); // of another time
  }
  uint64_t bytes = 0;
  for (const auto &entry : std::filesystem::recursive_directory_iterator(folder.path())) {
    bytes += entry.is_regular_file() ? entry.file_size() : 0;
  }
  EXPECT_LE(bytes, kShare);
  EXPECT_EQ(Kept(folder, {0, kHash.substr(0, 31) + "0"}, 96), "");
  EXPECT_EQ(Kept(folder, {0, kHash.substr(0, 31) + "9"}, 96), cover);
}

FoundPicture Beside(const std::string &name) {
  return {FoundPicture::Kind::kBeside, {1, 2, 3}, 12345, name};
}

TEST(CoverTable, RemembersWhatASongHas) {
  const TemporaryFolder folder;
  const std::string table = folder / "songs";
  const SongKey song = MakeSongKey("one"), other = MakeSongKey("two");
  EXPECT_EQ(FindPicture(table, song), std::nullopt);
  RememberPicture(table, song, Beside("folder.jpeg"));
  EXPECT_EQ(FindPicture(table, song), Beside("folder.jpeg"));
  EXPECT_EQ(FindPicture(table, other), std::nullopt);
  RememberPicture(table, song, Beside("cover.jpg"));
  EXPECT_EQ(FindPicture(table, song), Beside("cover.jpg"));
  const FoundPicture none{FoundPicture::Kind::kNone, {}, 1, ""};
  RememberPicture(table, other, none);
  EXPECT_EQ(FindPicture(table, other), none);
  EXPECT_EQ(FindPicture(table, song), Beside("cover.jpg"));
}

TEST(CoverTable, KeepsMostOfManySongsAndIsBounded) {
  const TemporaryFolder folder;
  const std::string table = folder / "songs";
  constexpr int kSongs = 20'000;
  for (int number = 0; number < kSongs; ++number) {
    RememberPicture(table, MakeSongKey(std::to_string(number)), Beside(std::to_string(number)));
  }
  int found = 0;
  for (int number = 0; number < kSongs; ++number) {
    found +=
        FindPicture(table, MakeSongKey(std::to_string(number))) == Beside(std::to_string(number));
  }
  EXPECT_GE(found, kSongs * 99 / 100);
  EXPECT_LE(std::filesystem::file_size(table), 64U << 20U);
}

TEST(CoverTable, ThatIsDamagedKnowsNothing) {
  const TemporaryFolder folder;
  const std::string table = folder / "songs";
  const SongKey song = MakeSongKey("one");
  RememberPicture(table, song, Beside("cover.jpg"));
  std::string bytes = ReadBytes(table);
  const std::size_t at = bytes.find("cover.jpg");
  ASSERT_NE(at, std::string::npos);
  ++bytes[at];
  WriteBytes(table, bytes);
  EXPECT_EQ(FindPicture(table, song), std::nullopt);
  WriteBytes(table, "");
  EXPECT_EQ(FindPicture(table, song), std::nullopt);
}

TEST(PictureBeside, IsTheBestOfThoseThatAreThere) {
  const TemporaryFolder folder;
  EXPECT_EQ(PictureBeside(folder.path()), std::nullopt);
  EXPECT_EQ(PictureBeside(folder / "nowhere"), std::nullopt);
  for (const char *name : {"cover.gif", "mycover.jpg", "cover.jpg.txt", "cover", "covers.jpg"}) {
    WriteBytes(folder / name, "");
  }
  EXPECT_EQ(PictureBeside(folder.path()), std::nullopt);
  for (const char *name :
       {"front.webp", "FRONT.jpg", "folder.PNG", "Folder.Jpg", "cover.webp", "COVER.JPEG"}) {
    WriteBytes(folder / name, "");
    EXPECT_EQ(PictureBeside(folder.path()), name);
  }
}

} // namespace
} // namespace vexo::media
