#include "contract/index/engine.h"

#include <gmock/gmock.h>
#include <numeric>
#include <set>
#include <stdexcept>

namespace vexo::index {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

using Songs = IndexTest;
VEXO_FOR_EACH_ENGINE(Songs);

std::vector<std::string> Paths(const std::vector<Song> &songs) {
  std::vector<std::string> paths;
  paths.reserve(songs.size());
  for (const Song &song : songs) {
    paths.push_back(song.path);
  }
  return paths;
}

Song FullSong() {
  Song song = MakeSong("/m/\"a\\b\".flac", 4);
  song.title = "Title";
  song.artist = "Artist";
  song.album = "Album";
  song.album_artist = "Various";
  song.genre = "Genre";
  song.composer = "Composer";
  song.comment = "Comment";
  song.type = "flac";
  song.track = 1;
  song.disc = 2;
  song.year = 1999;
  song.duration_seconds = 215.5;
  song.bitrate = 320'000;
  song.sample_rate = 44'100;
  song.channels = 2;
  song.size_bytes = 5'000'000'000;
  song.rating = 80;
  song.play_count = 3;
  song.compilation = true;
  song.time_added = 1'700'000'000;
  song.time_modified = 1'600'000'000;
  song.time_changed = 1'600'000'001;
  return song;
}

void ExpectFileFacts(const Song &actual, const Song &expected) {
  EXPECT_EQ(actual.path, expected.path);
  EXPECT_EQ(actual.title, expected.title);
  EXPECT_EQ(actual.artist, expected.artist);
  EXPECT_EQ(actual.album, expected.album);
  EXPECT_EQ(actual.album_artist, expected.album_artist);
  EXPECT_EQ(actual.genre, expected.genre);
  EXPECT_EQ(actual.composer, expected.composer);
  EXPECT_EQ(actual.comment, expected.comment);
  EXPECT_EQ(actual.type, expected.type);
  EXPECT_EQ(actual.track, expected.track);
  EXPECT_EQ(actual.disc, expected.disc);
  EXPECT_EQ(actual.year, expected.year);
  EXPECT_EQ(actual.duration_seconds, expected.duration_seconds);
  EXPECT_EQ(actual.bitrate, expected.bitrate);
  EXPECT_EQ(actual.sample_rate, expected.sample_rate);
  EXPECT_EQ(actual.channels, expected.channels);
  EXPECT_EQ(actual.size_bytes, expected.size_bytes);
  EXPECT_EQ(actual.compilation, expected.compilation);
  EXPECT_EQ(actual.time_modified, expected.time_modified);
  EXPECT_EQ(actual.time_changed, expected.time_changed);
}

TEST_P(Songs, ASongIsReadAsItWasAdded) {
  const Song song = FullSong();
  index().WriteSongs({song}, {});
  const std::vector<Song> found = index().SongsByPath({song.path});
  ASSERT_EQ(found.size(), 1U);
  ExpectFileFacts(found[0], song);
  EXPECT_GT(found[0].id, 0);
  EXPECT_EQ(found[0].owner, 4);
  EXPECT_EQ(found[0].rating, 80);
  EXPECT_EQ(found[0].play_count, 3);
  EXPECT_EQ(found[0].time_added, 1'700'000'000);
}

TEST_P(Songs, ARewrittenSongKeepsWhatItsFileDoesNotTell) {
  index().WriteSongs({FullSong()}, {});
  Song changed = MakeSong("/m/moved.flac", 5);
  changed.id = index().SongsByPath({FullSong().path})[0].id;
  index().WriteSongs({changed}, {});
  const std::vector<Song> found = index().SongsById(4, {changed.id});
  ASSERT_EQ(found.size(), 1U);
  ExpectFileFacts(found[0], changed);
  EXPECT_EQ(found[0].rating, 80);
  EXPECT_EQ(found[0].play_count, 3);
  EXPECT_EQ(found[0].time_added, 1'700'000'000);
}

TEST_P(Songs, ASongThatWasRemovedMeanwhileIsNotRewritten) {
  Song song = MakeSong("/a");
  song.id = 17;
  index().WriteSongs({song}, {18});
  EXPECT_THAT(index().SongFiles(0), IsEmpty());
}

TEST_P(Songs, AnIdIsNeverGivenAgain) {
  index().WriteSongs({MakeSong("/a")}, {});
  const int32_t first = index().SongsByPath({"/a"})[0].id;
  index().WriteSongs({}, {first});
  index_ = Open();
  index().WriteSongs({MakeSong("/a")}, {});
  EXPECT_GT(index().SongsByPath({"/a"})[0].id, first);
}

TEST_P(Songs, AFailedBatchChangesNothing) {
  index().WriteSongs({MakeSong("/a")}, {});
  const int32_t id = index().SongsByPath({"/a"})[0].id;
  EXPECT_THROW(index().WriteSongs({MakeSong("/b"), MakeSong("/c"), MakeSong("/c")}, {id}),
               IndexError);
  EXPECT_THAT(Paths(index().SongsByPath({"/a", "/b", "/c"})), ElementsAre("/a"));
}

TEST_P(Songs, SongsAreFoundByAListOfIdsOfTheirOwner) {
  index().WriteSongs({MakeSong("/a"), MakeSong("/b"), MakeSong("/c", 1)}, {});
  std::vector<int32_t> ids = {0, -1, 999'999};
  for (const Song &song : index().SongsByPath({"/a", "/b", "/c"})) {
    ids.push_back(song.id);
    ids.push_back(song.id);
  }
  EXPECT_THAT(Paths(index().SongsById(0, ids)), UnorderedElementsAre("/a", "/b"));
  EXPECT_THAT(Paths(index().SongsById(1, ids)), UnorderedElementsAre("/c"));
  EXPECT_THAT(index().SongsById(0, {}), IsEmpty());
}

TEST_P(Songs, AVisitorSeesWhatAListOfSongsHolds) {
  const Song song = FullSong();
  index().WriteSongs({song, MakeSong("/other", 5)}, {});
  const int32_t id = index().SongsByPath({song.path})[0].id;
  int visits = 0;
  index().VisitSongsById(4, {id, id + 1, id}, [&](const SongView &seen) {
    ++visits;
    EXPECT_EQ(seen.id, id);
    EXPECT_EQ(seen.path, song.path);
    EXPECT_EQ(seen.title, song.title);
    EXPECT_EQ(seen.artist, song.artist);
    EXPECT_EQ(seen.album, song.album);
    EXPECT_EQ(seen.genre, song.genre);
    EXPECT_EQ(seen.track, song.track);
    EXPECT_EQ(seen.disc, song.disc);
    EXPECT_EQ(seen.year, song.year);
    EXPECT_EQ(seen.duration_seconds, song.duration_seconds);
    EXPECT_EQ(seen.bitrate, song.bitrate);
    EXPECT_EQ(seen.sample_rate, song.sample_rate);
    EXPECT_EQ(seen.channels, song.channels);
    EXPECT_EQ(seen.size_bytes, song.size_bytes);
  });
  EXPECT_EQ(visits, 1);
}

TEST_P(Songs, EachOfAnyNumberOfIdsIsVisitedOnce) {
  constexpr int kSongs = 200;
  std::vector<Song> songs;
  for (int i = 0; i < kSongs; ++i) {
    songs.push_back(MakeSong("/" + std::to_string(i)));
  }
  index().WriteSongs(songs, {});
  std::vector<int32_t> ids;
  for (int i = 1; i <= kSongs; ++i) {
    ids.insert(ids.begin(), i);
    std::vector<int32_t> seen;
    index().VisitSongsById(0, ids, [&](const SongView &song) { seen.push_back(song.id); });
    EXPECT_THAT(seen, ::testing::UnorderedElementsAreArray(ids));
  }
}

TEST_P(Songs, AVisitorThatThrowsLeavesTheIndexReady) {
  index().WriteSongs({MakeSong("/a"), MakeSong("/b")}, {});
  std::vector<int32_t> ids(100);
  std::iota(ids.begin(), ids.end(), 1);
  EXPECT_THROW(
      index().VisitSongsById(0, ids, [](const SongView &) { throw std::runtime_error("enough"); }),
      std::runtime_error);
  index().WriteSongs({MakeSong("/c")}, {});
  EXPECT_EQ(index().SongsById(0, ids).size(), 3U);
}

TEST_P(Songs, AnyNumberOfPathsIsVisitedInTheirOrder) {
  constexpr int kSongs = 200;
  std::vector<Song> songs;
  std::vector<std::string> paths;
  for (int i = 0; i < kSongs; ++i) {
    songs.push_back(MakeSong("/" + std::to_string(i * 7919 % kSongs)));
    paths.push_back(songs.back().path);
  }
  songs.push_back(MakeSong("/\xff"));
  songs.push_back(MakeSong("/0", 3));
  songs.back().year = 3;
  paths.insert(paths.begin(), {"/\xff", "/none", "/0"});
  index().WriteSongs(songs, {});
  std::vector<std::pair<std::string, int>> seen;
  index().VisitSongsByPath(paths,
                           [&](const SongView &song) { seen.emplace_back(song.path, song.year); });
  std::set<std::pair<std::string, int>> expected;
  for (const Song &song : songs) {
    expected.emplace(song.path, song.year);
  }
  EXPECT_THAT(seen, ::testing::ElementsAreArray(expected));
}

TEST_P(Songs, TwentyThousandIdsAreAnOrdinaryRequest) {
  std::vector<Song> songs;
  std::vector<int32_t> ids;
  for (int i = 1; i <= 20'000; ++i) {
    songs.push_back(MakeSong("/" + std::to_string(i)));
    ids.push_back(i);
  }
  index().WriteSongs(songs, {});
  EXPECT_EQ(index().SongsById(0, ids).size(), 20'000U);
}

TEST_P(Songs, PathsAreFoundWhateverTheirBytes) {
  const std::vector<std::string> paths = {"/\"", "/\\", "/\x01", "/caf\xc3\xa9", "/\xff", "/a,b]"};
  std::vector<Song> songs;
  songs.reserve(paths.size());
  for (const std::string &path : paths) {
    songs.push_back(MakeSong(path));
  }
  index().WriteSongs(songs, {});
  EXPECT_THAT(Paths(index().SongsByPath(paths)), ::testing::UnorderedElementsAreArray(paths));
}

TEST_P(Songs, PathsOfEveryOwnerAreFound) {
  index().WriteSongs({MakeSong("/a"), MakeSong("/a", 1)}, {});
  EXPECT_THAT(Paths(index().SongsByPath({"/a", "/none"})), ElementsAre("/a", "/a"));
}

TEST_P(Songs, TheFilesOfAnOwnerComeByPath) {
  Song song = MakeSong("/b");
  song.size_bytes = 3;
  song.time_modified = 4;
  index().WriteSongs({song, MakeSong("/a"), MakeSong("/c", 1)}, {});
  const std::vector<SongFile> files = index().SongFiles(0);
  ASSERT_EQ(files.size(), 2U);
  EXPECT_EQ(files[0].path, "/a");
  EXPECT_EQ(files[1].path, "/b");
  EXPECT_EQ(files[1].size_bytes, 3U);
  EXPECT_EQ(files[1].time_modified, 4);
  EXPECT_GT(files[1].id, 0);
}

TEST_P(Songs, FilesThatWereNoAudioAreRemembered) {
  const std::vector<SongFile> files = {{0, "/a", 5'000'000'000, 1}, {0, "/b", 2, -3}};
  index().SetUnreadableFiles(1, files);
  EXPECT_EQ(Open()->UnreadableFiles(1), files);
  EXPECT_TRUE(index().UnreadableFiles(0).empty());
  index().SetUnreadableFiles(1, {files[1]});
  EXPECT_EQ(index().UnreadableFiles(1), std::vector{files[1]});
}

} // namespace
} // namespace vexo::index
