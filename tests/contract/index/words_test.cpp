#include "contract/index/catalog_index.h"

#include <gmock/gmock.h>

namespace vexo::index {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

using Words = CatalogTest;
VEXO_FOR_EACH_ENGINE(Words);

TEST_P(Words, EachIsFoundSomewhere) {
  Song one = Track("/1", "Green River (Live)", "Dvořák", "Blue Sky");
  one.album_artist = "AC/DC";
  Write({one, Track("/2", "Ævar's \"Song\"", "Beyoncé", "東京の夜"),
         Track("/3", "한국 노래", "ABBA"), Track("/4", "Green", "", "", 9)});
  struct Row {
    std::string what, words;
    std::vector<std::string> paths;
  };
  const std::vector<Row> rows = {
      {"nothing is asked: all", " ", {"/1", "/2", "/3"}},
      {"a part of the title", "iver", {"/1"}},
      {"in any letter case and without accents", "DVORAK", {"/1"}},
      {"with other accents", "béyonce", {"/2"}},
      {"words of several texts, in any order", "sky dvořák green", {"/1"}},
      {"all must be found", "sky beyonce", {}},
      {"one twice", "sky sky", {"/1"}},
      {"the album artist", "ac/dc", {"/1"}},
      {"two letters where a word begins", "gr", {"/1"}},
      {"also behind a punctuation mark", "dc", {"/1"}},
      {"one letter", "l", {"/1"}},
      {"but not in the middle", "re", {}},
      {"punctuation", "(live)", {"/1"}},
      {"quotes are plain characters", "\"song\"", {"/2"}},
      {"as are stars and colons", "title:*", {}},
      {"ligatures", "aevar's", {"/2"}},
      {"a typographic apostrophe", "ævar’s", {"/2"}},
      {"one character of a script without spaces", "夜", {"/2"}},
      {"two", "京の", {"/2"}},
      {"four", "東京の夜", {"/2"}},
      {"not in another order", "夜の", {}},
      {"Hangul", "노래", {"/3"}},
      {"Hangul, composed otherwise", "\u1102\u1169", {"/3"}},
      {"no other owner's", "green", {"/1"}},
      {"what is nowhere", "zyx", {}},
  };
  for (const Row &row : rows) {
    SongList list;
    list.words = row.words;
    EXPECT_EQ(Paths(list), row.paths) << row.what;
    EXPECT_EQ(index().ListSongs(list, {0, 1}).total, std::ssize(row.paths)) << row.what;
  }
}

TEST_P(Words, AChangedSongIsFoundByItsNewWordsOnly) {
  Write({Track("/1", "River", "Brown", "Blue")});
  Rewrite("/1", [](Song &song) {
    song.title = "Mountain";
    song.artist = "Green";
    song.album = "Sky";
  });
  SongList list;
  for (const auto *const old : {"river", "brown", "blue"}) {
    list.words = old;
    EXPECT_THAT(Paths(list), IsEmpty());
  }
  for (const auto *const now : {"mountain", "green", "sky"}) {
    list.words = now;
    EXPECT_THAT(Paths(list), ElementsAre("/1"));
  }
  Remove({"/1"});
  EXPECT_THAT(Paths(list), IsEmpty());
  EXPECT_THAT(index().FindDamage(), IsEmpty());
}

TEST_P(Words, ManySongsAreCountedExactly) {
  std::vector<Song> songs;
  for (int i = 0; i < 5000; ++i) {
    songs.push_back(Track("/" + std::to_string(i), i % 2 == 0 ? "even one" : "odd one", "", "",
                          i % 5 == 0 ? 1 : 0));
  }
  Write(songs);
  SongList list;
  list.sort = {Field::kTitle};
  list.words = "one";
  EXPECT_EQ(index().ListSongs(list, {0, 10}).total, 4000);
  list.words = "one odd";
  const Page<CatalogSong> page = index().ListSongs(list, {1999, 10});
  EXPECT_EQ(page.total, 2000);
  ASSERT_EQ(page.items.size(), 1U);
  EXPECT_EQ(page.items[0].song.path, "/4999");
}

TEST_P(Words, ArtistsAreFoundByName) {
  Write({Track("/1", "1", "Dvořák"), Track("/2", "2", "Antonín Dvořák"), Track("/3", "3", "Bach"),
         Track("/4", "4", "Dvořák", "", 1)});
  GroupList list;
  list.kind = GroupKind::kArtist;
  list.words = "dvor";
  list.sort = {GroupField::kName};
  const Page<Group> page = index().ListGroups(list, {1, 5});
  EXPECT_EQ(page.total, 2);
  ASSERT_EQ(page.items.size(), 1U);
  EXPECT_EQ(page.items[0].name, "Dvořák");
}

} // namespace
} // namespace vexo::index
