// The host's functions for songs, and its cursor on a playlist's row.

#include "contract/index/engine.h"
#include "host/records.h"
#include "playlists/playlist_text.h"
#include "playlists/write_playlist.h"
#include "support/device_root.h"
#include "support/logged_by.h"
#include "vexo/media_index.h"

#include <cstdlib>
#include <cstring>
#include <gmock/gmock.h>

namespace {

using vexo::host::SongList;
using vexo::index::MakePlaylist;
using vexo::index::MakeSong;
using vexo::index::ProcessIndex;
using vexo::index::Song;

/// The paths of a list.
std::vector<std::string> Paths(const VEXOPlaylistRec *head) {
  std::vector<std::string> paths;
  for (; head != nullptr; head = head->next) {
    paths.emplace_back(head->info.path);
  }
  return paths;
}

class HostSongs : public DeviceRootTest {
protected:
  void SetUp() override {
    DeviceRootTest::SetUp();
    vexo::index::SetProcessIndex(nullptr);
    Song song = MakeSong("/a.mp3");
    song.title = "Title";
    song.artist = "Artist";
    song.album = "Album";
    song.genre = "Genre";
    song.track = 1;
    song.disc = 2;
    song.year = 3;
    song.duration_seconds = 4.5;
    song.bitrate = 5;
    song.sample_rate = 6;
    song.channels = 7;
    song.size_bytes = 8;
    ProcessIndex().WriteSongs({song, MakeSong("/b.mp3"), MakeSong("/own.mp3", 9)}, {});
  }
  void TearDown() override { vexo::index::SetProcessIndex(nullptr); }

  static std::string IdOf(const std::string &path) {
    return std::to_string(ProcessIndex().SongsByPath({path})[0].id);
  }
};

TEST_F(HostSongs, ARecordHoldsWhatTheIndexKnows) {
  VEXOPlaylistRec *head = nullptr;
  ASSERT_EQ(VEXOMusicListGetByID("shared", 0, &head, IdOf("/a.mp3").c_str()), 0);
  const SongList list(head);
  ASSERT_NE(head, nullptr);
  EXPECT_EQ(std::to_string(head->info.id), IdOf("/a.mp3"));
  EXPECT_STREQ(head->info.path, "/a.mp3");
  EXPECT_STREQ(head->info.title, "Title");
  EXPECT_STREQ(head->info.artist, "Artist");
  EXPECT_STREQ(head->info.album, "Album");
  EXPECT_STREQ(head->info.genre, "Genre");
  EXPECT_EQ(head->info.track, 1);
  EXPECT_EQ(head->info.disc, 2);
  EXPECT_EQ(head->info.year, 3);
  EXPECT_EQ(head->info.duration, 4.5F);
  EXPECT_EQ(head->info.bitrate, 5U);
  EXPECT_EQ(head->info.sampleRate, 6U);
  EXPECT_EQ(head->info.channels, 7U);
  EXPECT_EQ(head->info.size, 8U);
  EXPECT_EQ(head->next, nullptr);
}

TEST_F(HostSongs, IdsThatAreNotThereAreLeftOut) {
  VEXOPlaylistRec *head = nullptr;
  const std::string ids = "999," + IdOf("/b.mp3") + ",x,,-1,0,99999999999999999999," +
                          IdOf("/own.mp3") + "," + IdOf("/a.mp3");
  ASSERT_EQ(VEXOMusicListGetByID("shared", 0, &head, ids.c_str()), 0);
  const SongList list(head);
  EXPECT_THAT(Paths(head), ::testing::UnorderedElementsAre("/a.mp3", "/b.mp3"));
}

TEST_F(HostSongs, NoSongIsAnEmptyList) {
  auto *untouched = reinterpret_cast<VEXOPlaylistRec *>(1);
  for (const char *ids : {"", "999"}) {
    VEXOPlaylistRec *head = untouched;
    EXPECT_EQ(VEXOMusicListGetByID("shared", 0, &head, ids), 0);
    EXPECT_EQ(head, nullptr);
  }
}

TEST_F(HostSongs, AFailureLeavesTheHeadUntouched) {
  auto *untouched = reinterpret_cast<VEXOPlaylistRec *>(1);
  VEXOPlaylistRec *head = untouched;
  EXPECT_EQ(VEXOMusicListGetByID("other", 0, &head, "1"), -1);
  EXPECT_EQ(VEXOMusicListGetByID(nullptr, 0, &head, "1"), -1);
  EXPECT_EQ(VEXOMusicListGetByID("personal", 0, &head, "1"), -1);
  EXPECT_EQ(VEXOMusicListGetByID("personal", -1, &head, "1"), -1);
  EXPECT_EQ(VEXOMusicListAll("", 0, &head, 1, "a", "album", 1, 0, 0), -1);
  EXPECT_EQ(VEXOMusicListAll("shared", 0, &head, 1, "a", "album", 1, -1, 0), -1);
  EXPECT_EQ(head, untouched);
}

TEST_F(HostSongs, ABrokenIndexIsAFailure) {
  vexo::index::SetProcessIndex(nullptr);
  WriteBytes(vexo::system::kIndexFile, std::string(5000, 'x'));
  std::filesystem::remove(std::string(vexo::system::kIndexFile) + "-wal");
  auto *untouched = reinterpret_cast<VEXOPlaylistRec *>(1);
  VEXOPlaylistRec *head = untouched;
  EXPECT_EQ(VEXOMusicListGetByID("shared", 0, &head, "1"), -1);
  EXPECT_EQ(VEXOMusicListAll("shared", 0, &head, 1, "a", "album", 1, 0, 0), -1);
  EXPECT_EQ(head, untouched);
  EXPECT_EQ(AudioInfoDBOpen("shared", 0, 3, "*", "id = 1", 0, 0, 0, 0), nullptr);
}

TEST_F(HostSongs, TheSharedLibraryAnswersTheSameForEveryUser) {
  VEXOPlaylistRec *head = nullptr;
  ASSERT_EQ(VEXOMusicListGetByID("shared", 9, &head, IdOf("/a.mp3").c_str()), 0);
  EXPECT_THAT(Paths(SongList(head).get()), ::testing::ElementsAre("/a.mp3"));
}

TEST_F(HostSongs, ASearchGivesTheSongsOfItsLibraryInOrder) {
  VEXOPlaylistRec *head = nullptr;
  ASSERT_EQ(VEXOMusicListAll("shared", 0, &head, 8, "", "path", 0, 0, 0), 0);
  EXPECT_THAT(Paths(SongList(head).get()), ::testing::ElementsAre("/b.mp3", "/a.mp3"));
  ASSERT_EQ(VEXOMusicListAll("personal", 9, &head, 1, "OWN", "album", 1, 0, 0), 0);
  EXPECT_THAT(Paths(SongList(head).get()), ::testing::ElementsAre("/own.mp3"));
  ASSERT_EQ(VEXOMusicListAll("shared", 0, &head, 8, "", "path", 1, 1, 1), 0);
  EXPECT_THAT(Paths(SongList(head).get()), ::testing::ElementsAre("/b.mp3"));
}

TEST_F(HostSongs, ASearchThatFindsMoreThanAPlaylistHoldsIsAFailure) {
  std::vector<Song> songs(vexo::playlists::kMaxEntries - 1);
  for (std::size_t i = 0; i < songs.size(); ++i) {
    songs[i].path = "/" + std::to_string(i);
  }
  ProcessIndex().WriteSongs(songs, {});
  VEXOPlaylistRec *head = nullptr;
  const std::string logged = LoggedBy(
      [&] { EXPECT_EQ(VEXOMusicListAll("shared", 0, &head, 8, "", "path", 1, 0, 0), -1); });
  EXPECT_EQ(logged, "test: VEXOMusicListAll: more than 100000 songs\n");
  EXPECT_EQ(head, nullptr);
  EXPECT_TRUE(vexo::playlists::HasReadFailed()) << "no empty list is written over songs";
  vexo::playlists::ForgetWriting();
  EXPECT_EQ(VEXOMusicListAll("shared", 0, &head, 8, "", "path", 1, 100'000, 0), 0);
  EXPECT_THAT(Paths(SongList(head).get()), ::testing::ElementsAre("/b.mp3"));
}

TEST_F(HostSongs, ASearchThatFindsNothingIsAnEmptyList) {
  auto *head = reinterpret_cast<VEXOPlaylistRec *>(1);
  EXPECT_EQ(VEXOMusicListAll("shared", 0, &head, 1, "nothing", nullptr, 1, 0, 0), 0);
  EXPECT_EQ(head, nullptr);
}

TEST_F(HostSongs, ACursorGivesTheRowOfAPlaylistOnce) {
  const auto row = MakePlaylist("/p.m3u");
  const std::string query = "id = " + std::to_string(ProcessIndex().AddPlaylist(row));
  VEXOMediaCursor *cursor = AudioInfoDBOpen("shared", 0, 3, "*", query.c_str(), 0, 0, 0, 0);
  ASSERT_NE(cursor, nullptr);
  __tag_VEXO_MEDIA_INFO info{};
  EXPECT_EQ(MediaInfoDBGet(cursor, &info), 0);
  EXPECT_STREQ(info.path, "/p.m3u");
  EXPECT_EQ(info.title, row.title);
  EXPECT_STREQ(info.album, "playlists");
  EXPECT_EQ(info.changeTime, row.change_time);
  EXPECT_EQ(info.modificationTime, row.modification_time);
  EXPECT_EQ(info.size, row.size_bytes);
  info.id = 77;
  EXPECT_EQ(MediaInfoDBGet(cursor, &info), -1);
  EXPECT_EQ(info.id, 77);
  AudioInfoDBClose(cursor);
}

TEST_F(HostSongs, ACursorOnNoRowIsOpenedAndEmpty) {
  const std::string query =
      "id = " + std::to_string(ProcessIndex().AddPlaylist(MakePlaylist("/p")));
  VEXOMediaCursor *cursor = AudioInfoDBOpen("personal", 9, 3, "*", query.c_str(), 0, 0, 0, 0);
  ASSERT_NE(cursor, nullptr);
  __tag_VEXO_MEDIA_INFO info{};
  EXPECT_EQ(MediaInfoDBGet(cursor, &info), -1);
  AudioInfoDBClose(cursor);
}

TEST_F(HostSongs, OtherTablesFieldsAndQueriesAreRefused) {
  struct Refused {
    const char *description;
    int table;
    const char *fields, *query;
    int rest;
  };
  for (const Refused &r : {
           Refused{"the songs' table", 1, "*", "id = 1", 0},
           Refused{"one field", 3, "path", "id = 1", 0},
           Refused{"no fields", 3, nullptr, "id = 1", 0},
           Refused{"another column", 3, "*", "path = 1", 0},
           Refused{"no blanks", 3, "*", "id=1", 0},
           Refused{"more than one condition", 3, "*", "id = 1 OR 1 = 1", 0},
           Refused{"two ids", 3, "*", "id = 1,2", 0},
           Refused{"no number", 3, "*", "id = ", 0},
           Refused{"id 0", 3, "*", "id = 0", 0},
           Refused{"an id that is too large", 3, "*", "id = 2147483648", 0},
           Refused{"no query", 3, "*", nullptr, 0},
           Refused{"a stretch", 3, "*", "id = 1", 1},
       }) {
    EXPECT_EQ(AudioInfoDBOpen("shared", 0, r.table, r.fields, r.query, r.rest, 0, 0, 0), nullptr)
        << r.description;
  }
  EXPECT_EQ(AudioInfoDBOpen("none", 0, 3, "*", "id = 1", 0, 0, 0, 0), nullptr);
}

TEST_F(HostSongs, NoCursorHasNoRowsAndIsClosed) {
  __tag_VEXO_MEDIA_INFO info{};
  EXPECT_EQ(MediaInfoDBGet(nullptr, &info), -1);
  AudioInfoDBClose(nullptr);
}

TEST_F(HostSongs, TheCodePageIsTheConfigurations) { EXPECT_EQ(VEXOIndexCodePageGet(), 65001); }

TEST(SongLists, AListIsReversedInPlace) {
  const SongList list(
      PlaylistRecReverse(vexo::host::MakeSongList({MakeSong("/a"), MakeSong("/b")}).release()));
  EXPECT_THAT(Paths(list.get()), ::testing::ElementsAre("/b", "/a"));
  EXPECT_EQ(PlaylistRecReverse(nullptr), nullptr);
}

TEST(SongLists, NoListIsReleased) { VEXOPlaylistRecFree(nullptr); }

TEST(SongLists, ARecordHoldsNothingOfWhatWasInItsMemory) {
  std::vector<std::unique_ptr<void, decltype(&std::free)>> dirty;
  for (int i = 0; i < 100; ++i) {
    dirty.emplace_back(std::malloc(sizeof(VEXOPlaylistRec)), &std::free);
    std::memset(dirty.back().get(), 'x', sizeof(VEXOPlaylistRec));
  }
  dirty.clear();
  const SongList list(vexo::host::MakeSongList(1, [](__tag_VEXO_MEDIA_INFO &, std::size_t) {}));
  const __tag_VEXO_MEDIA_INFO &record = list->info;
  for (const char *text : {record.path, record.title, record.album, record.artist, record.genre,
                           record.albumArtUrl, record.changeTime, record.modificationTime}) {
    EXPECT_STREQ(text, "");
  }
  for (const int32_t number : {record.id, record.track, record.disc, record.year}) {
    EXPECT_EQ(number, 0);
  }
  for (const uint32_t number : {record.bitrate, record.sampleRate, record.channels}) {
    EXPECT_EQ(number, 0U);
  }
  EXPECT_EQ(record.duration, 0);
  EXPECT_EQ(record.size, 0U);
  EXPECT_EQ(list->next, nullptr);
}

TEST(Records, TextsAreCutBetweenCharacters) {
  struct Cut {
    const char *description;
    std::string text;
    std::size_t size;
  };
  const std::string long_text(253, 'x');
  for (const Cut &cut : {
           Cut{"fits", long_text + "y", 254},
           Cut{"one byte too long", long_text + "yz", 254},
           Cut{"two bytes do not fit", long_text + "\u00e9", 253},
           Cut{"three bytes do not fit", long_text + "\u6e2f", 253},
           Cut{"four bytes do not fit", long_text.substr(2) + "\U0001f3b5z", 251},
           Cut{"four bytes fit exactly", long_text.substr(3) + "\U0001f3b5z", 254},
       }) {
    Song song = MakeSong("/a");
    song.title = cut.text;
    __tag_VEXO_MEDIA_INFO record{};
    vexo::host::FillRecord(record, song);
    EXPECT_EQ(record.title, cut.text.substr(0, cut.size)) << cut.description;
  }
}

TEST(Records, APathThatDoesNotFitStaysEmpty) {
  __tag_VEXO_MEDIA_INFO record{};
  vexo::host::FillRecord(record, MakeSong("/" + std::string(4094, 'x')));
  EXPECT_EQ(std::string(record.path).size(), 4095U);
  record = {};
  vexo::host::FillRecord(record, MakeSong("/" + std::string(4095, 'x')));
  EXPECT_STREQ(record.path, "");
}

TEST(Records, ATextCutInACharacterIsWrittenWithoutItsRest) {
  VEXOPlaylistRec song{};
  const std::string title = std::string(253, 't') + "\xC3\xA9";
  snprintf(song.info.title, sizeof song.info.title, "%s", title.c_str());
  ASSERT_EQ(vexo::host::NewEntries(&song).size(), 1U);
  EXPECT_EQ(vexo::host::NewEntries(&song)[0].title, std::string(253, 't'));
}

TEST(Records, OfAListTheFirstSongsAreTaken) {
  const auto songs = vexo::host::MakeSongList({MakeSong("/a"), MakeSong("/b"), MakeSong("/c")});
  EXPECT_EQ(vexo::host::NewEntries(songs.get()).size(), 3U);
  const auto first = vexo::host::NewEntries(songs.get(), 2);
  ASSERT_EQ(first.size(), 2U);
  EXPECT_EQ(first[0].path, "/a");
  EXPECT_EQ(first[1].path, "/b");
  EXPECT_TRUE(vexo::host::NewEntries(songs.get(), 0).empty());
  EXPECT_TRUE(vexo::host::NewEntries(nullptr).empty());
}

TEST(Records, ARowIsReadBackFromItsRecord) {
  __tag_VEXO_MEDIA_INFO record{};
  const auto row = MakePlaylist("/p.m3u", 3);
  vexo::host::FillRecord(record, row);
  const auto read = vexo::host::PlaylistOf(record, 3);
  EXPECT_EQ(read.owner, 3);
  EXPECT_EQ(read.path, row.path);
  EXPECT_EQ(read.title, row.title);
  EXPECT_EQ(read.album, row.album);
  EXPECT_EQ(read.change_time, row.change_time);
  EXPECT_EQ(read.modification_time, row.modification_time);
  EXPECT_EQ(read.size_bytes, row.size_bytes);
}

} // namespace
