#include "contract/index/catalog_index.h"
#include "index/orders.h"
#include "index/sort_keys.h"

#include <gmock/gmock.h>
#include <random>

namespace vexo::index {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

using Lists = CatalogTest;
VEXO_FOR_EACH_ENGINE(Lists);

SongList SortedBy(std::vector<Field> sort, bool ascending = true) {
  SongList list;
  list.sort = std::move(sort);
  list.ascending = ascending;
  return list;
}

TEST_P(Lists, SongsComeInTheOrderThatIsAskedFor) {
  Song one = Track("/1", "Émile", "brown", "Sky");
  one.disc = 1;
  one.track = 10;
  one.year = 1999;
  one.duration_seconds = 2.5;
  one.time_added = 3;
  one.genre = "Folk";
  one.bitrate = 9;
  Song two = Track("/2", "eddie", "Brown", "Sky");
  two.disc = 1;
  two.track = 9;
  two.year = 2020;
  two.duration_seconds = 2.25;
  two.time_added = 2;
  two.genre = "folk";
  two.bitrate = 10;
  Song three = Track("/3", "Zebra", "Álf", "River");
  three.duration_seconds = 100;
  three.time_added = 1;
  three.genre = "Ambient";
  Write({one, two, three});
  struct Row {
    std::vector<Field> sort;
    std::vector<std::string> paths;
  };
  const std::vector<Row> rows = {
      {{}, {"/1", "/2", "/3"}},
      {{Field::kTitle}, {"/2", "/1", "/3"}},
      {{Field::kArtist}, {"/3", "/2", "/1"}},
      {{Field::kArtist, Field::kAlbum, Field::kDisc, Field::kTrack}, {"/3", "/2", "/1"}},
      {{Field::kAlbum, Field::kDisc, Field::kTrack}, {"/3", "/2", "/1"}},
      {{Field::kAlbum, Field::kBitrate}, {"/3", "/1", "/2"}},
      {{Field::kYear}, {"/3", "/1", "/2"}},
      {{Field::kTimeAdded}, {"/3", "/2", "/1"}},
      {{Field::kSongLength}, {"/2", "/1", "/3"}},
      {{Field::kGenre}, {"/3", "/1", "/2"}},
      {{Field::kBitrate}, {"/3", "/1", "/2"}},
      {{Field::kPath}, {"/1", "/2", "/3"}},
  };
  for (const Row &row : rows) {
    EXPECT_EQ(Paths(SortedBy(row.sort)), row.paths);
    EXPECT_EQ(Paths(SortedBy(row.sort, false)),
              std::vector<std::string>(row.paths.rbegin(), row.paths.rend()));
  }
}

TEST_P(Lists, APageIsAStretchOfTheList) {
  std::vector<Song> songs;
  for (int i = 0; i < 5; ++i) {
    songs.push_back(Track("/" + std::to_string(i), std::string(1, static_cast<char>('a' + i))));
  }
  Write(songs);
  for (const std::vector<Field> &sort :
       {std::vector{Field::kTitle}, std::vector{Field::kBitrate}}) {
    EXPECT_EQ(index().ListSongs(SortedBy(sort), {1, 2}).total, 5);
    EXPECT_THAT(Paths(SortedBy(sort), {1, 2}), ElementsAre("/1", "/2"));
    EXPECT_THAT(Paths(SortedBy(sort, false), {1, 2}), ElementsAre("/3", "/2"));
    EXPECT_THAT(Paths(SortedBy(sort), {4, 9}), ElementsAre("/4"));
    EXPECT_THAT(Paths(SortedBy(sort, false), {4, 9}), ElementsAre("/0"));
    EXPECT_THAT(Paths(SortedBy(sort), {5, 9}), IsEmpty());
    EXPECT_THAT(Paths(SortedBy(sort, false), {7, 9}), IsEmpty());
    EXPECT_THAT(Paths(SortedBy(sort), {0, 0}), IsEmpty());
    EXPECT_EQ(index().ListSongs(SortedBy(sort), {0, 0}).total, 5);
  }
}

/// Changes songs at random and keeps the same ones in memory.
class RandomSongsOf {
public:
  explicit RandomSongsOf(MediaIndex &index) : index_(index) {}

  void Change(std::size_t count) {
    std::vector<Song> songs;
    std::vector<int32_t> removed;
    for (std::size_t i = 0; i < count; ++i) {
      Song song = Make();
      if (const auto what = random_() % 4; what < 2 || known_.empty()) {
        songs.push_back(song);
      } else if (const auto at = known_.begin() + Below(known_.size()); what == 2) {
        song.id = *at;
        songs.push_back(song);
      } else {
        removed.push_back(*at);
        known_.erase(at);
      }
    }
    std::erase_if(songs, [&](const Song &song) {
      return std::find(removed.begin(), removed.end(), song.id) != removed.end();
    });
    index_.WriteSongs(songs, removed);
    known_.clear();
    for (const SongFile &file : index_.SongFiles(0)) {
      known_.push_back(file.id);
    }
  }

  [[nodiscard]] const std::vector<int32_t> &ids() const { return known_; }

private:
  std::ptrdiff_t Below(std::size_t bound) { return static_cast<std::ptrdiff_t>(random_() % bound); }

  Song Make() {
    const std::string album = std::to_string(random_() % 40);
    Song song = Track("/m/" + album + "/" + std::to_string(++made_),
                      std::string(random_() % 4, static_cast<char>('a' + random_() % 26)),
                      "artist " + std::to_string(random_() % 30), album);
    song.year = static_cast<int32_t>(random_() % 30);
    song.genre = "genre " + std::to_string(random_() % 5);
    song.track = static_cast<int32_t>(random_() % 20);
    song.duration_seconds = static_cast<double>(random_() % 300);
    song.time_added = static_cast<int64_t>(random_() % 1000);
    return song;
  }

  MediaIndex &index_;
  std::mt19937_64 random_{7};
  std::vector<int32_t> known_;
  int made_ = 0;
};

std::vector<CatalogSong> AllSongs(MediaIndex &index) {
  return index.ListSongs({}, {0, INT32_MAX}).items;
}

/// The ids that a list must have: of all songs, or of those that are wanted.
std::vector<int32_t> InOrder(const std::vector<CatalogSong> &songs, std::span<const Field> sort,
                             const std::function<bool(const SongGroups &)> &wanted = nullptr) {
  std::vector<std::pair<std::string, int32_t>> keyed;
  for (const CatalogSong &song : songs) {
    if (!wanted || wanted(song.groups)) {
      keyed.emplace_back(SongSortKey(song.song, song.groups, sort), song.song.id);
    }
  }
  std::sort(keyed.begin(), keyed.end());
  std::vector<int32_t> sorted;
  sorted.reserve(keyed.size());
  for (const auto &[key, id] : keyed) {
    sorted.push_back(id);
  }
  return sorted;
}

std::vector<int32_t> IdsOf(const Page<CatalogSong> &page) {
  std::vector<int32_t> ids;
  ids.reserve(page.items.size());
  for (const CatalogSong &song : page.items) {
    ids.push_back(song.song.id);
  }
  return ids;
}

TEST_P(Lists, EveryStretchIsRightWhateverHasChanged) {
  RandomSongsOf songs(index());
  for (const std::size_t count : {4500U, 1U, 40U, 3500U}) {
    songs.Change(count);
    const std::vector<CatalogSong> known = AllSongs(index());
    const auto size = static_cast<int64_t>(songs.ids().size());
    for (const SongOrder &order : kSongOrders) {
      std::vector<int32_t> expected = InOrder(known, order.fields());
      SongList list = SortedBy({order.fields().begin(), order.fields().end()});
      const Page<CatalogSong> all = index().ListSongs(list, {0, size + 5});
      ASSERT_EQ(all.total, size);
      ASSERT_EQ(IdsOf(all), expected) << order.number;
      for (int64_t offset = 0; offset < size; offset += 1499) {
        const auto first = expected.begin() + offset;
        ASSERT_EQ(IdsOf(index().ListSongs(list, {offset, 3})),
                  std::vector<int32_t>(first, first + std::min<int64_t>(3, size - offset)));
      }
      list.ascending = false;
      std::reverse(expected.begin(), expected.end());
      ASSERT_EQ(IdsOf(index().ListSongs(list, {0, size})), expected);
    }
    ASSERT_THAT(index().FindDamage(), IsEmpty());
  }
}

TEST_P(Lists, ChosenSongsComeInOrderHoweverManyTheyAre) {
  RandomSongsOf songs(index());
  songs.Change(4000);
  for (const GroupKind kind : {GroupKind::kGenre, GroupKind::kArtist}) {
    const Group group = All(kind).at(0);
    SongList list = SortedBy({Field::kTitle});
    (kind == GroupKind::kGenre ? list.groups.genre : list.groups.artist) = group.id;
    const std::vector<int32_t> expected =
        InOrder(AllSongs(index()), list.sort, [&](const SongGroups &groups) {
          return groups.genre == group.id || groups.artist == group.id;
        });
    const Page<CatalogSong> page = index().ListSongs(list, {3, 1000});
    EXPECT_EQ(page.total, group.songs);
    EXPECT_EQ(IdsOf(page),
              std::vector<int32_t>(expected.begin() + 3,
                                   expected.begin() +
                                       std::min<std::ptrdiff_t>(1003, std::ssize(expected))));
  }
}

TEST_P(Lists, SongsAreChosenByWhatIsAskedFor) {
  Song one = Track("/m/1", "1", "Brown", "Blue");
  one.year = 1990;
  one.type = "flac";
  Song two = Track("/m/2", "2", "Green", "Blue");
  two.year = 2000;
  two.type = "mp3";
  two.album_artist = "Brown";
  two.composer = "Smith";
  Write({one, two, Track("/m/3", "3", "Brown", "", 5)});
  const auto find = [&](const std::function<void(SongList &)> &choose) {
    SongList list = SortedBy({Field::kTitle});
    choose(list);
    return Paths(list);
  };
  const int32_t brown = index().GroupNamed(0, GroupKind::kArtist, "Brown");
  EXPECT_THAT(find([&](SongList &l) { l.groups.artist = brown; }), ElementsAre("/m/1"));
  EXPECT_THAT(find([&](SongList &l) { l.groups.album_artist = brown; }),
              ElementsAre("/m/1", "/m/2"));
  EXPECT_THAT(find([&](SongList &l) {
                l.groups.composer = index().GroupNamed(0, GroupKind::kComposer, "smith");
              }),
              ElementsAre("/m/2"));
  EXPECT_THAT(find([](SongList &l) { l.year_from = 1991; }), ElementsAre("/m/2"));
  EXPECT_THAT(find([](SongList &l) { l.year_to = 1990; }), ElementsAre("/m/1"));
  EXPECT_THAT(find([](SongList &l) { l.year_from = l.year_to = 2000; }), ElementsAre("/m/2"));
  EXPECT_THAT(find([](SongList &l) { l.type = "flac"; }), ElementsAre("/m/1"));
  EXPECT_THAT(find([&](SongList &l) {
                l.type = "mp3";
                l.groups.artist = brown;
              }),
              IsEmpty());
  EXPECT_THAT(find([](SongList &l) { l.owner = 5; }), ElementsAre("/m/3"));
  EXPECT_THAT(find([](SongList &l) { l.owner = 6; }), IsEmpty());
}

TEST_P(Lists, SongsBelowAFolderAreThoseOfItsFoldersToo) {
  Write({Track("/m/a/1", "1"), Track("/m/a/b/c/2", "2"), Track("/m/a b/3", "3"),
         Track("/m/a0", "4"), Track("/m/a/5", "5", "", "", 5)});
  const auto below = [&](const std::string &folder, int owner = 0) {
    SongList list = SortedBy({Field::kTitle});
    list.owner = owner;
    list.below = index().GroupNamed(owner, GroupKind::kFolder, folder);
    EXPECT_NE(list.below, 0) << folder;
    return Paths(list);
  };
  EXPECT_THAT(below("/m/a"), ElementsAre("/m/a/1", "/m/a/b/c/2"));
  EXPECT_THAT(below("/m/a/b"), ElementsAre("/m/a/b/c/2"));
  EXPECT_THAT(below("/m/a", 5), ElementsAre("/m/a/5"));
  EXPECT_THAT(below("/"), ElementsAre("/m/a/1", "/m/a/b/c/2", "/m/a b/3", "/m/a0"));
  const std::string long_folder = "/m/" + std::string(900, 'x');
  Write({Track(long_folder + "a/6", "6"), Track(long_folder + "b/7", "7")});
  EXPECT_THAT(below(long_folder + "a"), ElementsAre(long_folder + "a/6"));
  SongList list = SortedBy({Field::kTitle});
  list.below = index().GroupNamed(0, GroupKind::kFolder, "/m/a");
  list.groups.folder = index().GroupNamed(0, GroupKind::kFolder, "/m/a/b/c");
  EXPECT_THAT(Paths(list), ElementsAre("/m/a/b/c/2"));
  list.below = index().GroupNamed(0, GroupKind::kFolder, "/m/a b");
  EXPECT_THAT(Paths(list), IsEmpty());
}

TEST_P(Lists, AnotherOwnersSongIsNotFound) {
  Write({Track("/1", "1", "", "", 3)});
  EXPECT_TRUE(index().FindSong(3, IdOf("/1")));
  EXPECT_FALSE(index().FindSong(0, IdOf("/1")));
  EXPECT_FALSE(index().FindSong(3, 999));
}

TEST_P(Lists, TheRevisionGrowsWithEachChangeOfSongsAndWithNoOther) {
  const int64_t at_first = index().Revision();
  Write({Track("/1", "1")});
  const int64_t then = index().Revision();
  EXPECT_GT(then, at_first);
  index().AddPlaylist(MakePlaylist("/p"));
  index().WriteSongs({}, {});
  index().WriteSongs({}, {999});
  EXPECT_EQ(index().Revision(), then);
  EXPECT_EQ(Open()->Revision(), then);
  Remove({"/1"});
  EXPECT_GT(index().Revision(), then);
}

TEST_P(Lists, TheRevisionIsAnotherOneInAnIndexThatIsMadeAnew) {
  Write({Track("/1", "1")});
  const TemporaryFolder other;
  EXPECT_GT(GetParam().open(other.path())->Revision(), 1'000'000);
}

TEST_P(Lists, LargeNumbersAndLongTextsAreKeptInOrder) {
  Song small = Track("/1", std::string(5000, 'a'), std::string(5000, 'b'), std::string(5000, 'c'));
  small.year = -5;
  small.track = -1;
  Song large = Track("/2", std::string(5000, 'z'), std::string(5000, 'z'), std::string(5000, 'z'));
  large.year = INT32_MAX;
  large.duration_seconds = 1e9;
  large.time_added = INT64_MAX;
  large.size_bytes = uint64_t{1} << 50;
  Write({large, small});
  for (const Field field : {Field::kTitle, Field::kArtist, Field::kAlbum, Field::kYear,
                            Field::kTimeAdded, Field::kSongLength, Field::kFileSize}) {
    EXPECT_THAT(Paths(SortedBy({field})), ElementsAre("/1", "/2")) << static_cast<int>(field);
  }
  RemoveAll();
  EXPECT_THAT(index().FindDamage(), IsEmpty());
}

} // namespace
} // namespace vexo::index
