#include "export/song_links.h"
#include "export_test.h"

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class LinkSongTest : public ExportTest {
protected:
  void SetUp() override {
    ExportTest::SetUp();
    fs::create_directories(root() + "/work");
    fs::current_path(root() + "/work");
  }
  std::string Link(const char *path) { return LinkSongIntoDir(taken_, path); }
  static std::string Target(const char *name) { return fs::read_symlink(name).string(); }

private:
  TakenNumbers taken_;
};

TEST_F(LinkSongTest, ASongIsLinkedUnderItsBaseName) {
  EXPECT_EQ(Link("/m/album/a.mp3"), "a.mp3");
  EXPECT_EQ(Target("a.mp3"), "/m/album/a.mp3");
}

TEST_F(LinkSongTest, TheAddressOfAStreamIsItsNameAndIsNotLinked) {
  for (const char *address : {"http://radio/a", "https://radio/a.mp3", "HtTp", "httpd/a.mp3"}) {
    EXPECT_EQ(Link(address), address);
  }
  EXPECT_TRUE(fs::is_empty("."));
}

TEST_F(LinkSongTest, APathWithoutASlashHasNoName) {
  for (const char *path : {"", "a.mp3", "htt", "ftp:a"}) {
    EXPECT_EQ(Link(path), "");
  }
  EXPECT_TRUE(fs::is_empty("."));
  EXPECT_THAT(host().Messages(), IsEmpty());
}

TEST_F(LinkSongTest, TheSameSongTwiceSharesOneLink) {
  EXPECT_EQ(Link("/m/a.mp3"), "a.mp3");
  EXPECT_EQ(Link("/m/a.mp3"), "a.mp3");
  EXPECT_EQ(std::distance(fs::directory_iterator("."), fs::directory_iterator()), 1);
}

TEST_F(LinkSongTest, SongsOfTheSameBaseNameAreNumbered) {
  EXPECT_EQ(Link("/m/1/a.mp3"), "a.mp3");
  EXPECT_EQ(Link("/m/2/a.mp3"), "0_a.mp3");
  EXPECT_EQ(Link("/m/3/a.mp3"), "1_a.mp3");
  EXPECT_EQ(Link("/m/1/a.mp3"), "a.mp3");
  EXPECT_EQ(Target("0_a.mp3"), "/m/2/a.mp3");
  EXPECT_EQ(Target("1_a.mp3"), "/m/3/a.mp3");
}

TEST_F(LinkSongTest, ANumberedSongTwiceGetsANumberEachTime) {
  Link("/m/1/a.mp3");
  EXPECT_EQ(Link("/m/2/a.mp3"), "0_a.mp3");
  EXPECT_EQ(Link("/m/2/a.mp3"), "1_a.mp3");
}

TEST_F(LinkSongTest, ANumberThatASongHasInItsOwnNameIsPassedOver) {
  Link("/m/1/a.mp3");
  EXPECT_EQ(Link("/m/0_a.mp3"), "0_a.mp3");
  EXPECT_EQ(Link("/m/2/a.mp3"), "1_a.mp3");
}

TEST_F(LinkSongTest, ANameThatIsNoLinkIsLoggedAndKept) {
  WriteBytes("playlist.m3u", "");
  EXPECT_EQ(Link("/m/playlist.m3u"), "playlist.m3u");
  EXPECT_THAT(host().Messages(), ElementsAre("Failed to read link of playlist.m3u"));
}

TEST_F(LinkSongTest, ALinkThatCannotBeMadeIsLoggedAndItsNameKept) {
  const std::string base(256, 'n');
  EXPECT_EQ(Link(("/m/" + base).c_str()), base);
  EXPECT_THAT(host().Messages(),
              ElementsAre("Failed to link the file from /m/" + base + " to " + base + "."));
}

TEST_F(LinkSongTest, APathThatEndsWithASlashHasNoNameToLink) {
  EXPECT_EQ(Link("/m/"), "");
  EXPECT_THAT(host().Messages(), ElementsAre("Failed to link the file from /m/ to ."));
}

TEST_F(LinkSongTest, DotsAreNamesThatAreTaken) {
  for (const char *base : {".", ".."}) {
    host().log.clear();
    EXPECT_EQ(Link((std::string("/m/") + base).c_str()), base);
    EXPECT_THAT(host().Messages(), ElementsAre(std::string("Failed to read link of ") + base));
  }
}

TEST_F(LinkSongTest, ANumberedLinkThatCannotBeMadeIsLoggedAndTheBaseNameKept) {
  const std::string base(255, 'n'); // with a number it is too long
  Link(("/m/1/" + base).c_str());
  for (int time = 0; time < 2; ++time) {
    host().log.clear();
    EXPECT_EQ(Link(("/m/2/" + base).c_str()), base);
    EXPECT_THAT(host().Messages(), ElementsAre("Failed to link the file from /m/2/" + base +
                                               " to 0_" + base + "(err=File name too long)."));
  }
}

} // namespace
