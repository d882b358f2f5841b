#include "contract/index/catalog_index.h"

#include <gmock/gmock.h>

namespace vexo::index {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

using Groups = CatalogTest;
VEXO_FOR_EACH_ENGINE(Groups);

TEST_P(Groups, AnAlbumIsOfItsSongs) {
  Song first = Track("/m/a/1.flac", "River", "Brown", "Blue");
  first.year = 1999;
  first.duration_seconds = 60.5;
  first.size_bytes = 5'000'000'000;
  first.track = 2;
  first.time_added = 50;
  Song second = Track("/m/a/2.flac", "Sky", "Brown", "Blue");
  second.year = 2001;
  second.duration_seconds = 1.25;
  second.size_bytes = 1;
  second.track = 1;
  second.disc = 0;
  second.time_added = 40;
  Write({first, second});
  const Group album = TheAlbum("Blue");
  EXPECT_EQ(album.artist, "Brown");
  EXPECT_EQ(album.artist_id, index().GroupNamed(0, GroupKind::kArtist, "brown"));
  EXPECT_EQ(album.songs, 2);
  EXPECT_EQ(album.duration_ms, 61'750);
  EXPECT_EQ(album.size_bytes, 5'000'000'001);
  EXPECT_EQ(album.year_from, 1999);
  EXPECT_EQ(album.year_to, 2001);
  EXPECT_EQ(album.time_added, 40);
  EXPECT_EQ(album.cover_song, IdOf("/m/a/2.flac")) << "the first track's";
  EXPECT_FALSE(album.compilation);
  EXPECT_EQ(album.parent_id, index().GroupNamed(0, GroupKind::kFolder, "/m/a"));
}

TEST_P(Groups, DiscsOfAnAlbumAreOneAlbum) {
  for (const auto *const path : {"/m/a/CD 1/1.ogg", "/m/a/CD2/1.ogg", "/m/a/Disc 3 - Live/1.ogg",
                                 "/m/a/disque_04/1.ogg", "/m/a/0.ogg"}) {
    Song song = Track(path, path, "Brown", "Blue");
    song.disc = path[5] == '0' ? 2 : 0;
    Write({song});
  }
  Write({Track("/m/a/CDs/1.ogg", "x", "Brown", "Blue"),
         Track("/m/CD 100/1.ogg", "x", "Brown", "Blue"),
         Track("/m/disco/1.ogg", "x", "Brown", "Blue")});
  const std::vector<Group> albums = Albums();
  ASSERT_THAT(albums, SizeIs(4)) << "folders of other names are other albums";
  EXPECT_EQ(albums[0].songs, 5);
  EXPECT_EQ(albums[0].discs, 4) << "the folder tells the disc that the file does not";
}

TEST_P(Groups, WhatTellsAlbumsApart) {
  struct Row {
    std::string what;
    Song one, other;
    std::size_t albums;
  };
  const auto with = [](Song song, const std::string &album_artist, bool compilation) {
    song.album_artist = album_artist;
    song.compilation = compilation;
    return song;
  };
  const Song plain = Track("/m/a/1", "1", "Brown", "Blue");
  const std::vector<Row> rows = {
      {"letter case does not", plain, Track("/m/a/2", "2", "BROWN", "BLUE"), 1},
      {"the title does", plain, Track("/m/a/2", "2", "Brown", "Green"), 2},
      {"the folder does", plain, Track("/m/b/2", "2", "Brown", "Blue"), 2},
      {"the artist of a song does not", plain, Track("/m/a/2", "2", "Green", "Blue"), 1},
      {"the album artist does", with(plain, "Brown", false),
       with(Track("/m/a/2", "2", "Brown", "Blue"), "Green", false), 2},
      {"not when it is each song's own artist, in a compilation", with(plain, "Brown", true),
       with(Track("/m/a/2", "2", "Green", "Blue"), "Green", true), 1},
      {"a compilation of which one song does not say so", with(plain, "Various", true),
       with(Track("/m/a/2", "2", "Green", "Blue"), "Various", false), 1},
      {"a song without a title of an album is of none", plain, Track("/m/a/2", "2", "Brown", ""),
       1},
  };
  for (const Row &row : rows) {
    Write({row.one, row.other});
    EXPECT_THAT(Albums(), SizeIs(row.albums)) << row.what;
    RemoveAll();
    EXPECT_THAT(Albums(), IsEmpty());
  }
}

TEST_P(Groups, AnAlbumOfSeveralArtistsIsACompilation) {
  Write({Track("/m/a/1", "1", "Brown", "Blue"), Track("/m/a/2", "2", "Green", "Blue")});
  EXPECT_TRUE(TheAlbum("Blue").compilation);
  EXPECT_EQ(TheAlbum("Blue").artist_id, 0);
  Song various = Track("/m/b/1", "1", "Brown", "Hits");
  various.album_artist = "Various";
  various.compilation = true;
  Write({various});
  EXPECT_TRUE(TheAlbum("Hits").compilation);
  EXPECT_EQ(TheAlbum("Hits").artist, "Various");
}

TEST_P(Groups, AnAlbumKeepsItsIdWhileItsSongsChange) {
  Write({Track("/m/a/1", "1", "Brown", "Blue"), Track("/m/a/2", "2", "Brown", "Blue")});
  const int32_t id = TheAlbum("Blue").id;
  Rewrite("/m/a/1", [](Song &song) { song.album = "BLUE"; });
  EXPECT_EQ(TheAlbum("BLUE").id, id) << "named as the last song names it";
  Remove({"/m/a/1"});
  EXPECT_EQ(Albums().at(0).id, id);
  EXPECT_EQ(Albums().at(0).songs, 1);
  Remove({"/m/a/2"});
  EXPECT_THAT(Albums(), IsEmpty());
  Write({Track("/m/a/1", "1", "Brown", "Blue")});
  EXPECT_GT(TheAlbum("Blue").id, id) << "an id is never given again";
}

TEST_P(Groups, ACoverIsASongThatIsThere) {
  Song one = Track("/m/a/x/1", "1", "Brown", "Blue");
  one.album_artist = "Green";
  one.genre = "Folk";
  Song two = one;
  two.path = "/m/a/y/2";
  two.artist = "Red";
  Write({one, two});
  const auto cover = [&](GroupKind kind, const std::string &name) {
    return index().FindGroup(0, kind, index().GroupNamed(0, kind, name))->cover_song;
  };
  const int32_t first = IdOf("/m/a/x/1");
  const int32_t second = IdOf("/m/a/y/2");
  EXPECT_EQ(cover(GroupKind::kGenre, "Folk"), first);
  EXPECT_EQ(cover(GroupKind::kArtist, "Green"), first);
  EXPECT_EQ(cover(GroupKind::kFolder, "/m"), first);
  EXPECT_EQ(cover(GroupKind::kFolder, "/"), first);
  EXPECT_EQ(cover(GroupKind::kFolder, "/m/a/y"), second);
  Rewrite("/m/a/x/1", [](Song &song) { song.title = "changed"; });
  EXPECT_EQ(cover(GroupKind::kGenre, "Folk"), first) << "it stays while the song stays";
  Remove({"/m/a/x/1"});
  EXPECT_EQ(cover(GroupKind::kGenre, "Folk"), second);
  EXPECT_EQ(cover(GroupKind::kArtist, "Green"), second);
  EXPECT_EQ(cover(GroupKind::kFolder, "/m"), second);
  EXPECT_EQ(cover(GroupKind::kFolder, "/"), second);
}

TEST_P(Groups, WhatIsRewrittenCountsOnce) {
  Write({Track("/m/a/1", "1", "Brown", "Blue")});
  Rewrite("/m/a/1", [](Song &song) {
    song.artist = "Green";
    song.duration_seconds = 2;
    song.time_added = 99;
  });
  const Group album = TheAlbum("Blue");
  EXPECT_EQ(album.songs, 1);
  EXPECT_EQ(album.duration_ms, 2000);
  EXPECT_EQ(album.artist, "Green");
  EXPECT_EQ(album.time_added, 0) << "the song keeps its time";
  EXPECT_THAT(Names(GroupKind::kArtist), ElementsAre("Green"));
}

TEST_P(Groups, ArtistsAreThoseOfSongsAndOfAlbums) {
  Song song = Track("/m/a/1", "1", "Brown", "Blue");
  song.album_artist = "Green";
  Write({song, Track("/m/a/2", "2", "brown", "Red"), Track("/m/a/3", "3", "Brown", "")});
  const std::vector<Group> artists = All(GroupKind::kArtist);
  ASSERT_THAT(artists, SizeIs(2));
  EXPECT_EQ(artists[0].songs, 3);
  EXPECT_EQ(artists[0].albums, 2);
  EXPECT_EQ(artists[1].name, "Green");
  EXPECT_EQ(artists[1].songs, 0);
  EXPECT_EQ(artists[1].albums, 1);
  EXPECT_EQ(artists[1].cover_song, IdOf("/m/a/1"));
}

TEST_P(Groups, GenresComposersAndYearsHaveCounts) {
  for (int i = 0; i < 5; ++i) {
    Song song = Track("/m/" + std::to_string(i) + "/1", "1", "Brown", "Blue");
    song.genre = i < 3 ? "Folk" : "folk";
    song.composer = i < 2 ? "Smith" : "";
    song.year = i < 4 ? 1999 : 0;
    song.duration_seconds = 1;
    Write({song});
  }
  ASSERT_THAT(Names(GroupKind::kGenre), ElementsAre("folk"));
  EXPECT_EQ(All(GroupKind::kGenre)[0].songs, 5);
  EXPECT_EQ(All(GroupKind::kGenre)[0].albums, 5);
  EXPECT_EQ(All(GroupKind::kGenre)[0].duration_ms, 5000);
  ASSERT_THAT(Names(GroupKind::kComposer), ElementsAre("Smith"));
  EXPECT_EQ(All(GroupKind::kComposer)[0].songs, 2);
  ASSERT_THAT(Names(GroupKind::kYear), ElementsAre("1999"));
  EXPECT_EQ(All(GroupKind::kYear)[0].songs, 4);
  Remove({"/m/0/1", "/m/1/1"});
  EXPECT_THAT(Names(GroupKind::kComposer), IsEmpty());
  EXPECT_EQ(All(GroupKind::kGenre)[0].albums, 3);
}

TEST_P(Groups, FoldersAreATree) {
  Write({Track("/m/b/x/1", "1"), Track("/m/b/2", "2"), Track("/m/A/3", "3"), Track("/4", "4")});
  const int32_t top = index().GroupNamed(0, GroupKind::kFolder, "/m");
  GroupList children;
  children.kind = GroupKind::kFolder;
  children.parent_id = top;
  children.sort = {GroupField::kName};
  const Page<Group> page = index().ListGroups(children, {0, 10});
  EXPECT_EQ(page.total, 2);
  ASSERT_THAT(page.items, SizeIs(2));
  EXPECT_EQ(page.items[0].name, "/m/A");
  EXPECT_EQ(page.items[1].name, "/m/b");
  EXPECT_EQ(page.items[1].songs, 2) << "those of folders in it too";
  EXPECT_EQ(index().FindGroup(0, GroupKind::kFolder, top)->songs, 3);
  SongList songs;
  songs.groups.folder = page.items[1].id;
  EXPECT_THAT(Paths(songs), ElementsAre("/m/b/2")) << "only those in the folder itself";
  Remove({"/m/b/x/1"});
  EXPECT_EQ(index().GroupNamed(0, GroupKind::kFolder, "/m/b/x"), 0);
}

TEST_P(Groups, AGroupIsItsOwnersAlone) {
  Write({Track("/m/1", "1", "Brown", "Blue"), Track("/m/1", "1", "Brown", "Blue", 7)});
  const int32_t shared = index().GroupNamed(0, GroupKind::kArtist, "Brown");
  const int32_t personal = index().GroupNamed(7, GroupKind::kArtist, "Brown");
  EXPECT_NE(shared, personal);
  EXPECT_TRUE(index().FindGroup(7, GroupKind::kArtist, personal));
  EXPECT_FALSE(index().FindGroup(0, GroupKind::kArtist, personal));
  EXPECT_FALSE(index().FindGroup(7, GroupKind::kAlbum, personal)) << "it is of another kind";
  EXPECT_FALSE(index().FindGroup(7, GroupKind::kArtist, 999));
  SongList of_other;
  of_other.groups.artist = personal;
  EXPECT_THAT(Paths(of_other), IsEmpty());
  GroupList albums;
  albums.in_groups = {personal};
  EXPECT_EQ(index().ListGroups(albums, {0, 10}).total, 0);
}

TEST_P(Groups, AlbumsAreChosenByWhatTheyHold) {
  Song one = Track("/m/a/1", "1", "Brown", "Blue");
  one.genre = "Folk";
  one.year = 1990;
  Song two = Track("/m/b/1", "1", "Green", "Blue");
  two.album_artist = "Brown";
  two.genre = "Jazz";
  two.year = 2000;
  Write({one, two, Track("/m/c/1", "1", "Red", "Wine")});
  const auto titles = [&](const std::function<void(GroupList &)> &choose) {
    GroupList list;
    list.sort = {GroupField::kName, GroupField::kYear};
    choose(list);
    std::vector<int32_t> years;
    for (const Group &album : index().ListGroups(list, {0, 10}).items) {
      years.push_back(album.year_from);
    }
    return years;
  };
  const auto id = [&](GroupKind kind, const std::string &name) {
    return index().GroupNamed(0, kind, name);
  };
  EXPECT_THAT(titles([](GroupList &) {}), ElementsAre(1990, 2000, 0));
  EXPECT_THAT(titles([&](GroupList &l) { l.in_groups = {id(GroupKind::kArtist, "Green")}; }),
              ElementsAre(2000));
  EXPECT_THAT(titles([&](GroupList &l) { l.in_groups = {id(GroupKind::kGenre, "folk")}; }),
              ElementsAre(1990));
  EXPECT_THAT(titles([&](GroupList &l) { l.in_groups = {id(GroupKind::kYear, "2000")}; }),
              ElementsAre(2000));
  EXPECT_THAT(titles([&](GroupList &l) { l.artist_id = id(GroupKind::kArtist, "Brown"); }),
              ElementsAre(1990, 2000));
  EXPECT_THAT(titles([&](GroupList &l) { l.year_from = 1995; }), ElementsAre(2000));
  EXPECT_THAT(titles([&](GroupList &l) { l.year_to = 1995; }), ElementsAre(1990));
  EXPECT_THAT(titles([&](GroupList &l) { l.words = "bro blue"; }), ElementsAre(1990, 2000));
  EXPECT_THAT(titles([&](GroupList &l) { l.words = "green"; }), IsEmpty()) << "not its songs'";
}

} // namespace
} // namespace vexo::index
