// The archives as four programs that read them see them.

#include "zip/archive_folder.h"
#include <cstdlib>

namespace fs = std::filesystem;

namespace {

constexpr uint64_t kGiB = uint64_t{1} << 30U;

class ArchiveReadersTest : public ArchiveFolderTest {
protected:
  /// The working folder as a download leaves it: `count` songs behind links, two playlists. Gives
  /// the list of names.
  static std::string LayOut(int count) {
    WriteBytes(library() + "/song.mp3", "song");
    std::string names;
    for (int number = 0; number < count; ++number) {
      const std::string name = std::to_string(number) + "_song.mp3";
      fs::create_symlink(library() + "/song.mp3", name);
      names += name + "\n";
    }
    WriteBytes("playlist.m3u", names);
    WriteBytes("playlist.m3u8", names);
    return names + "playlist.m3u\nplaylist.m3u8\n";
  }

  /// Whether the archive ends with the locator of ZIP64's end record before its own end record.
  static bool HasZip64End() {
    std::ifstream file(archive(), std::ios::binary);
    std::string locator(4, '\0');
    file.seekg(-42, std::ios::end);
    return file.read(locator.data(), 4) && locator == "PK\x06\x07";
  }
};

TEST_F(ArchiveReadersTest, ZeroOneAndTwoSongs) {
  for (const int count : {0, 1, 2}) {
    fs::remove_all(folder());
    fs::create_directories(folder());
    fs::current_path(folder());
    const std::string names = LayOut(count);
    Archive(names);
    ExpectReadersAreContent();
    EXPECT_EQ(Names(), names);
    EXPECT_FALSE(HasZip64End());
  }
}

TEST_F(ArchiveReadersTest, NumbersOfEntriesAroundTheSixteenBits) {
  const std::string all = LayOut(65535);
  for (const int entries : {65533, 65534, 65535, 65536, 65537}) {
    std::istringstream lines(all);
    std::string names, name;
    for (int song = 0; song < entries - 2 && std::getline(lines, name); ++song) {
      names += name + "\n";
    }
    Archive(names + "playlist.m3u\nplaylist.m3u8\n");
    EXPECT_EQ(HasZip64End(), entries >= 65535) << entries;
    ExpectReadersAreContent();
    EXPECT_EQ(Python("print(len(z.namelist()))"), std::to_string(entries) + "\n");
  }
}

TEST_F(ArchiveReadersTest, NamesOfEveryKindComeBackToTheByte) {
  const std::string names[] = {
      "\xE6\x9B\xB2\xE3\x80\x80\xE5\x90\x8D.mp3", // Japanese, with a wide blank
      "with \"quotes\" and 'single'.mp3",
      "-q.mp3",
      "--help",
      "@.mp3",
      "* ? [a].mp3",
      "\xC3\xA9t\xC3\xA9 \xF0\x9F\x8E\xB5.flac",
      std::string(251, 'n') + ".mp3", // 255 bytes
      std::string("\xE3\x81\x82") + std::string(248, 'n') + ".ogg",
  };
  std::string list;
  for (const std::string &name : names) {
    LinkSong(name, "content of " + name);
    list += name + "\n";
  }
  Archive(list);
  ExpectReadersAreContent();
  EXPECT_EQ(Python("import sys\nfor n in z.namelist(): sys.stdout.buffer.write(n.encode() + "
                   "b\"\\n\")"),
            list);
  EXPECT_EQ(Python("print(all(z.read(n) == b\"content of \" + n.encode() for n in z.namelist()))"),
            "True\n");
  EXPECT_EQ(RunCommand("LC_ALL=C.UTF-8 bsdtar -xOf " + archive() + " -- '" + names[0] + "'").output,
            "content of " + names[0]);
}

TEST_F(ArchiveReadersTest, TheSameBaseNameFromFiftyFolders) {
  std::string list;
  for (int number = 0; number < 50; ++number) {
    const std::string album = library() + "/" + std::to_string(number);
    fs::create_directories(album);
    WriteBytes(album + "/a.mp3", std::to_string(number));
    const std::string name = number == 0 ? "a.mp3" : std::to_string(number - 1) + "_a.mp3";
    fs::create_symlink(album + "/a.mp3", name);
    list += name + "\n";
  }
  Archive(list);
  ExpectReadersAreContent();
  EXPECT_EQ(Names(), list);
  EXPECT_EQ(Python("print(all(int(z.read(n)) == i for i, n in enumerate(z.namelist())))"),
            "True\n");
}

/// Gigabytes take minutes: `./test --long` asks for them.
std::vector<uint64_t> LargeSizes() {
  if (std::getenv("VEXO_LONG") == nullptr) {
    return {};
  }
  return {4 * kGiB - 2, 4 * kGiB - 1, 4 * kGiB, 5 * kGiB};
}

class LargeArchiveTest : public ArchiveReadersTest, public testing::WithParamInterface<uint64_t> {};

TEST_P(LargeArchiveTest, IsReadAndHasZip64ExactlyWhereNeeded) {
  LinkSong("large.mp3", "");
  fs::resize_file(library() + "/large.mp3", GetParam());
  LinkSong("behind.mp3", "behind");
  Archive("large.mp3\nbehind.mp3\n");
  ExpectReadersAreContent();
  const bool large = GetParam() > 4 * kGiB - 2;
  EXPECT_EQ(Python("for i in z.infolist(): print(i.file_size, i.extract_version)"),
            std::to_string(GetParam()) + (large ? " 45" : " 10") +
                "\n6 45\n"); // it begins beyond 4 GiB
  EXPECT_EQ(Python("print(z.read(\"behind.mp3\"))"), "b'behind'\n");
  EXPECT_TRUE(HasZip64End());
  fs::remove(archive());
}

GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(LargeArchiveTest);
INSTANTIATE_TEST_SUITE_P(Sizes, LargeArchiveTest, testing::ValuesIn(LargeSizes()));

} // namespace
