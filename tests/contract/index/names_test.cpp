// Songs by their titles and by the names of their files.
#include "contract/index/engine.h"
#include "index/sort_keys.h"

#include <gmock/gmock.h>

namespace vexo::index {
namespace {

using ::testing::IsEmpty;
using ::testing::SizeIs;
using ::testing::UnorderedElementsAre;

TEST(FileStem, IsTheNameWithoutFoldersAndExtension) {
  EXPECT_EQ(FileStem("/a/b.c/01 Song.flac"), "01 Song");
  EXPECT_EQ(FileStem("C:\\Music\\x.y.mp3"), "x.y");
  EXPECT_EQ(FileStem(".hidden"), ".hidden");
  EXPECT_EQ(FileStem("plain"), "plain");
  EXPECT_EQ(FileStem("/a/"), "");
}

class NamedSongs : public IndexTest {
protected:
  void Add(const std::string &path, const std::string &title, int owner = 0) {
    Song song = MakeSong(path, owner);
    song.title = title;
    index().WriteSongs({song}, {});
  }

  std::vector<std::string> Named(MediaIndex::SongName kind, const std::vector<std::string> &names,
                                 int owner = 0) {
    std::vector<std::string> paths;
    for (const Song &song : index().SongsNamed(owner, kind, names, 10)) {
      paths.push_back(song.path);
    }
    return paths;
  }
};
VEXO_FOR_EACH_ENGINE(NamedSongs);

using enum MediaIndex::SongName;

TEST_P(NamedSongs, AreFoundWithoutLetterCaseAndAccents) {
  Add("/m/01 Grüße.mp3", "Ärger");
  Add("/m/02 grusse.mp3", "arge");
  Add("/m/01 Grüße.flac", "Other", 7);
  EXPECT_THAT(Named(kFile, {"01 GRUSSE"}), UnorderedElementsAre("/m/01 Grüße.mp3"));
  EXPECT_THAT(Named(kTitle, {"arger", "ÄRGER", "arge"}),
              UnorderedElementsAre("/m/01 Grüße.mp3", "/m/02 grusse.mp3"));
  EXPECT_THAT(Named(kFile, {"01 grüße"}, 7), UnorderedElementsAre("/m/01 Grüße.flac"));
  EXPECT_THAT(Named(kTitle, {"arg", ""}), IsEmpty());
}

TEST_P(NamedSongs, AreFoundByWhatTheyAreCalledNow) {
  Add("/m/old.mp3", "Old");
  Song song = index().SongsByPath({"/m/old.mp3"}).at(0);
  song.path = "/n/new.mp3";
  song.title = "New";
  index().WriteSongs({song}, {});
  EXPECT_THAT(Named(kFile, {"old"}), IsEmpty());
  EXPECT_THAT(Named(kTitle, {"old"}), IsEmpty());
  EXPECT_THAT(Named(kFile, {"new"}), SizeIs(1));
  index().RepairDamage();
  EXPECT_THAT(Named(kFile, {"new"}), SizeIs(1));
  index().WriteSongs({}, {song.id});
  EXPECT_THAT(Named(kFile, {"new"}), IsEmpty());
  EXPECT_THAT(index().FindDamage(), IsEmpty());
}

TEST_P(NamedSongs, AreSomeOfVeryMany) {
  for (int i = 0; i < 20; ++i) {
    Add("/m/" + std::to_string(i) + "/same.mp3", "Same");
  }
  EXPECT_THAT(Named(kFile, {"same", "same"}), SizeIs(10));
}

} // namespace
} // namespace vexo::index
