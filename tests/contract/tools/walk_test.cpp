#include "contract/tools/kept_output.h"
#include "playlistctl/scan/library_walk.h"
#include "support/temporary_folder.h"

#include <filesystem>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <system_error>

namespace vexo::tools {
namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class WalkTest : public ::testing::Test {
protected:
  void File(const std::string &name, const std::string &bytes = "x") {
    fs::create_directories(fs::path(folder_ / name).parent_path());
    WriteBytes(folder_ / name, bytes);
  }

  std::vector<std::string> Run(Hidden hidden = Hidden::kPass) {
    std::vector<std::string> names;
    for (const FoundFile &file : WalkFolder(folder_.path(), IsSongName, hidden, output_).files) {
      names.push_back(file.path.substr(folder_.path().size()));
    }
    return names;
  }

  TemporaryFolder folder_;
  KeptOutput output_;
};

TEST_F(WalkTest, SongsAreFoundInEveryFolderByPath) {
  File("b.mp3");
  File("a/z.flac");
  File("a/a/y.OGG");
  File("a.b/x.m4a");
  File("cover.jpg");
  File("notes");
  File(".mp3");
  EXPECT_THAT(Run(), ElementsAre("/a.b/x.m4a", "/a/a/y.OGG", "/a/z.flac", "/b.mp3"));
  EXPECT_THAT(output_.lines, IsEmpty());
}

TEST_F(WalkTest, SizeAndTimesAreTold) {
  File("a.mp3", "12345");
  const Walk walk = WalkFolder(folder_.path(), IsSongName, Hidden::kPass, output_);
  struct stat status {};
  ASSERT_EQ(stat(walk.files.at(0).path.c_str(), &status), 0);
  EXPECT_EQ(walk.files[0].size_bytes, 5U);
  EXPECT_EQ(walk.files[0].time_modified, status.st_mtim.tv_sec);
  EXPECT_EQ(walk.files[0].time_changed, status.st_ctim.tv_sec);
}

TEST_F(WalkTest, HiddenNamesArePassedOverUnlessWanted) {
  File("._a.mp3");
  File(".trash/b.mp3");
  EXPECT_THAT(Run(), IsEmpty());
  EXPECT_THAT(Run(Hidden::kTake), ElementsAre("/._a.mp3", "/.trash/b.mp3"));
}

TEST_F(WalkTest, LinksAreNotFollowed) {
  const TemporaryFolder outside;
  WriteBytes(outside / "a.mp3", "x");
  File("in/b.mp3");
  fs::create_directory_symlink(outside.path(), folder_ / "out");
  fs::create_directory_symlink(folder_.path(), folder_ / "in/round");
  fs::create_symlink(outside / "a.mp3", folder_ / "c.mp3");
  fs::create_symlink("nowhere", folder_ / "d.mp3");
  EXPECT_THAT(Run(), ElementsAre("/in/b.mp3"));
  EXPECT_EQ(output_.lines.size(), 4U);
  EXPECT_THAT(output_.lines, ::testing::Each(HasSubstr("it is a link")));
}

TEST_F(WalkTest, SpecialFilesAreSkippedWithALine) {
  ASSERT_EQ(mkfifo((folder_ / "a.mp3").c_str(), 0600), 0);
  EXPECT_THAT(Run(), IsEmpty());
  EXPECT_THAT(output_.lines, ElementsAre(HasSubstr("no regular file")));
}

TEST_F(WalkTest, NamesThatCannotBeKeptAreSkippedWithALine) {
  File("caf\xe9.mp3");
  File("a\nb.mp3");
  File("bad\xff/c.mp3");
  File("good.mp3");
  EXPECT_THAT(Run(), ElementsAre("/good.mp3"));
  EXPECT_THAT(output_.lines,
              ::testing::UnorderedElementsAre(HasSubstr("caf\ufffd.mp3: its name is not UTF-8"),
                                              HasSubstr("b.mp3: its name holds a line break"),
                                              HasSubstr("bad\ufffd: its name is not UTF-8")));
}

TEST_F(WalkTest, FoldersDeeperThanAPathCanSayAreSkippedWithALine) {
  const std::string name(200, 'd');
  fs::path path = folder_.path();
  const fs::path start = fs::current_path();
  fs::current_path(path);
  for (int depth = 0; depth < 25; ++depth) {
    fs::create_directory(name);
    fs::current_path(name);
  }
  WriteBytes("deep.mp3", "x");
  fs::current_path(start);
  File("flat.mp3");
  EXPECT_THAT(Run(), ElementsAre("/flat.mp3"));
  EXPECT_THAT(output_.lines, ElementsAre(HasSubstr("its path is too long")));
}

TEST_F(WalkTest, AFolderThatIsNotThereIsAnError) {
  EXPECT_THROW(WalkFolder(folder_ / "none", IsSongName, Hidden::kPass, output_), std::system_error);
  File("file");
  EXPECT_THROW(WalkFolder(folder_ / "file", IsSongName, Hidden::kPass, output_), std::system_error);
}

TEST(FileNames, ExtensionAndStem) {
  EXPECT_EQ(Extension("a.b.MP3"), "mp3");
  EXPECT_EQ(Extension("a"), "");
  EXPECT_EQ(Extension("a."), "");
  EXPECT_EQ(Stem("/x.y/a.b.mp3"), "a.b");
  EXPECT_EQ(Stem("a"), "a");
  EXPECT_EQ(FileName("/x/y"), "y");
  EXPECT_EQ(FileName("y"), "y");
  EXPECT_TRUE(IsPlaylistName("a.M3U"));
  EXPECT_TRUE(IsPlaylistName("a.m3u8"));
  EXPECT_FALSE(IsPlaylistName("a.m3u88"));
  EXPECT_FALSE(IsPlaylistName("m3u"));
}

TEST(ProgressBars, TheBarTellsHowFarTheWorkIs) {
  EXPECT_EQ(ProgressBar("reading", 0, 10, 80), "reading [..............................] 0% 0/10");
  EXPECT_EQ(ProgressBar("reading", 5, 10, 80), "reading [###############...............] 50% 5/10");
  EXPECT_EQ(ProgressBar("reading", 1'000'000, 1'000'000, 80),
            "reading [##############################] 100%");
  EXPECT_EQ(ProgressBar("reading", 0, 0, 10), "reading [#");
}

TEST(StreamOutput, WithoutATerminalThereAreOnlyLines) {
  std::ostringstream stream;
  StreamOutput output(stream, 0);
  output.Progress("x", 1, 2);
  output.Line("a line");
  EXPECT_EQ(stream.str(), "a line\n");
}

TEST(StreamOutput, OnATerminalTheBarGivesWayToLinesAndGoesAtTheEnd) {
  std::ostringstream stream;
  {
    StreamOutput output(stream, 80);
    output.Progress("x", 1, 2);
    output.Progress("x", 1, 2);
    output.Line("a line");
    output.Progress("x", 2, 2);
  }
  const std::string clear = "\r\033[K";
  EXPECT_EQ(stream.str(),
            ProgressBar("x", 1, 2, 79) + clear + "a line\n" + ProgressBar("x", 2, 2, 79) + clear);
}

} // namespace
} // namespace vexo::tools
