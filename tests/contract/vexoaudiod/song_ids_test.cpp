// What the index adds to a queue.
#include "scripted_mpd.h"
#include "support/device_root.h"
#include "vexoaudiod/mpd_queue.h"
#include "vexoaudiod/song_ids.h"

namespace vexo::audiod {
namespace {

class SongIdsTest : public DeviceRootTest {
protected:
  /// Makes an index with these songs.
  static void Index(const std::vector<index::Song> &songs) {
    index::OpenMediaIndex()->WriteSongs(songs, {});
  }
  static index::Song Song(const std::string &path) {
    index::Song song;
    song.path = path;
    song.title = "T";
    song.artist = "A";
    song.album = "B";
    song.genre = "G";
    song.track = 3;
    song.disc = 2;
    song.year = 1987;
    song.duration_seconds = 215.9;
    song.bitrate = 320000;
    song.sample_rate = 44100;
    song.channels = 2;
    song.size_bytes = 5'000'000'000;
    return song;
  }
  /// An entry whose player names it `uri` below `directory`.
  static QueueEntry Entry(const std::string &directory, const std::string &uri) {
    QueueEntry entry;
    entry.uri = uri;
    entry.res = directory.empty() ? uri : directory + "/" + uri;
    return entry;
  }
  /// Completes the entries of an MPD with this folder.
  static void Complete(std::vector<QueueEntry> &entries, const std::string &directory) {
    SongIds ids;
    Complete(entries, directory, ids);
  }
  static void Complete(std::vector<QueueEntry> &entries, const std::string &directory,
                       SongIds &ids) {
    const std::string path = std::string(system::kTemporary) + "/mpd";
    const ScriptedMpd mpd(path, QueueOfFiles(0));
    MpdConnection queue({path, 0, "", directory});
    FetchQueue(queue, 0, 1);
    ids.Complete(entries, queue);
  }
};

TEST_F(SongIdsTest, ASongOfTheIndexGetsItsIdAndWhatMpdDoesNotKnow) {
  Index({Song("/srv/a.mp3"), Song("/srv/b.mp3")});
  std::vector<QueueEntry> entries = {Entry("/srv", "b.mp3")};
  Complete(entries, "/srv");
  EXPECT_GT(entries[0].song_id, 0);
  EXPECT_EQ(entries[0].res, "/srv/b.mp3");
  EXPECT_EQ(entries[0].title, "T");
  EXPECT_EQ(entries[0].artist, "A");
  EXPECT_EQ(entries[0].album, "B");
  EXPECT_EQ(entries[0].genre, "G");
  EXPECT_EQ(entries[0].track, 3);
  EXPECT_EQ(entries[0].disc, 2);
  EXPECT_EQ(entries[0].year, 1987);
  EXPECT_EQ(entries[0].duration_seconds, 215U);
  EXPECT_EQ(entries[0].bitrate, 320000U);
  EXPECT_EQ(entries[0].sample_rate, 44100U);
  EXPECT_EQ(entries[0].channels, 2U);
  EXPECT_EQ(entries[0].size_bytes, 5'000'000'000U);
}

TEST_F(SongIdsTest, WhatMpdKnowsStays) {
  Index({Song("/srv/a.mp3")});
  std::vector<QueueEntry> entries = {Entry("/srv", "a.mp3")};
  entries[0].title = "MPD's";
  entries[0].duration_seconds = 7;
  Complete(entries, "/srv");
  EXPECT_EQ(entries[0].title, "MPD's");
  EXPECT_EQ(entries[0].duration_seconds, 7U);
  EXPECT_EQ(entries[0].artist, "A");
}

TEST_F(SongIdsTest, ASongTwiceInTheQueueGetsItsIdTwice) {
  Index({Song("/srv/a.mp3")});
  std::vector<QueueEntry> entries(2, Entry("/srv", "a.mp3"));
  Complete(entries, "/srv");
  EXPECT_GT(entries[0].song_id, 0);
  EXPECT_EQ(entries[0].song_id, entries[1].song_id);
}

TEST_F(SongIdsTest, ALibraryNamedByItsLinkIsTheFolderBehindIt) {
  std::filesystem::create_directory_symlink(library(), DEVICE_ROOT "/tmp/another link");
  Index({Song(library() + "/a/b.mp3")});
  for (const std::string &directory :
       {library(), std::string(system::kMusicLink), std::string(DEVICE_ROOT "/tmp/another link")}) {
    std::vector<QueueEntry> entries = {Entry(directory, "a/b.mp3")};
    Complete(entries, directory);
    EXPECT_GT(entries[0].song_id, 0) << directory;
    EXPECT_EQ(entries[0].res, directory + "/a/b.mp3") << "the path is the player's";
  }
}

TEST_F(SongIdsTest, ALibraryWhoseLinkLeadsToAnotherLinkIsNamedByThatOne) {
  const std::string named = DEVICE_ROOT "/tmp/volume";
  std::filesystem::create_directory_symlink(library(), named);
  std::filesystem::remove(system::kMusicLink);
  std::filesystem::create_directory_symlink(named, system::kMusicLink);
  Index({Song(named + "/a/b.mp3")});
  for (const std::string &directory : {library(), named, std::string(system::kMusicLink)}) {
    std::vector<QueueEntry> entries = {Entry(directory, "a/b.mp3")};
    Complete(entries, directory);
    EXPECT_GT(entries[0].song_id, 0) << directory;
  }
}

TEST_F(SongIdsTest, AFileOfElsewhereIsFoundByItsFullPath) {
  Index({Song("/srv/a.mp3"), Song(library() + "/b.mp3")});
  std::vector<QueueEntry> entries = {Entry("", "/srv/a.mp3"), Entry("", library() + "/b.mp3")};
  Complete(entries, "/other");
  EXPECT_GT(entries[0].song_id, 0);
  EXPECT_GT(entries[1].song_id, 0);
}

TEST_F(SongIdsTest, WhatTheIndexDoesNotHaveStaysAsItIs) {
  Index({Song("/srv/a.mp3")});
  std::vector<QueueEntry> entries = {Entry("", "http://radio/"), Entry("/srv", "new.mp3"),
                                     Entry("", "")};
  Complete(entries, "/srv");
  for (const QueueEntry &entry : entries) {
    EXPECT_EQ(entry.song_id, 0) << entry.uri;
  }
}

TEST_F(SongIdsTest, AnIndexThatIsNotThereIsNotMade) {
  std::vector<QueueEntry> entries = {Entry("/srv", "a.mp3")};
  Complete(entries, "/srv");
  EXPECT_EQ(entries[0].song_id, 0);
  EXPECT_FALSE(std::filesystem::exists(system::kIndexFile));
}

TEST_F(SongIdsTest, AnIndexThatIsDamagedDoesNoHarm) {
  WriteBytes(system::kIndexFile, std::string(10000, 'x'));
  std::vector<QueueEntry> entries = {Entry("/srv", "a.mp3")};
  Complete(entries, "/srv");
  EXPECT_EQ(entries[0].song_id, 0);
}

TEST_F(SongIdsTest, AnIndexThatFailedIsNotAskedAgainAtOnce) {
  WriteBytes(system::kIndexFile, std::string(10000, 'x'));
  std::vector<QueueEntry> entries = {Entry("/srv", "a.mp3")};
  SongIds ids;
  Complete(entries, "/srv", ids);
  std::filesystem::remove(system::kIndexFile);
  Index({Song("/srv/a.mp3")});
  Complete(entries, "/srv", ids);
  EXPECT_EQ(entries[0].song_id, 0);
  Complete(entries, "/srv");
  EXPECT_GT(entries[0].song_id, 0);
}

} // namespace
} // namespace vexo::audiod
