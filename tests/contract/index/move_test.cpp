// An index that is moved from one engine to another, and back.

#include "contract/index/engine.h"
#include "index/move.h"

#include <gmock/gmock.h>

namespace vexo::index {
namespace {

using ::testing::IsEmpty;

class Move : public ::testing::Test {
protected:
  [[nodiscard]] std::unique_ptr<MediaIndex> File(const std::string &name) const {
    return OpenSqliteIndex(folder_ / name);
  }
  static std::unique_ptr<MediaIndex> Server() {
    return OpenPostgresIndex(PostgresServer::Get().MakeDatabase("moved"));
  }

  static void Fill(MediaIndex &index) {
    std::vector<Song> songs;
    for (int i = 0; i < 60; ++i) {
      Song song = MakeSong("/m/" + std::to_string(i % 7) + "/" + std::to_string(i) + ".ogg", i % 2);
      song.title = "Äpfel " + std::to_string(i) + " \xff";
      song.artist = "Artist " + std::to_string(i % 5);
      song.album = "Album " + std::to_string(i % 7);
      song.duration_seconds = i * 1.25;
      song.size_bytes = 5'000'000'000 + static_cast<uint64_t>(i);
      songs.push_back(song);
    }
    index.WriteSongs(songs, {});
    index.ChangeMark(7, 3, {.star = true, .now = 1000});
    index.ChangeMark(7, 5, {.rating = 4, .now = 1000});
    index.WriteSongs({}, {3, 60});
    index.AddPlaylist(MakePlaylist("/lists/a.m3u"));
    index.AddPlaylist(MakePlaylist("/lists/b.m3u", 2));
    index.RemovePlaylist(0, 1);
    index.SetUnreadableFiles(0, {{0, "/m/x", 5, 6}});
  }

  static void ExpectSame(MediaIndex &left, MediaIndex &right) {
    for (const int owner : {0, 1, 2}) {
      EXPECT_EQ(left.SongFiles(owner), right.SongFiles(owner));
      EXPECT_EQ(left.AllPlaylists(owner), right.AllPlaylists(owner));
      EXPECT_EQ(left.UnreadableFiles(owner), right.UnreadableFiles(owner));
      for (int kind = 1; kind <= 6; ++kind) {
        GroupList list;
        list.owner = owner;
        list.kind = static_cast<GroupKind>(kind);
        list.sort = {GroupField::kName};
        EXPECT_EQ(left.ListGroups(list, {0, 100}).items, right.ListGroups(list, {0, 100}).items);
      }
      EXPECT_EQ(Listed(left, owner), Listed(right, owner));
    }
    EXPECT_EQ(left.ListMarks(7, false, {0, 100}).items, right.ListMarks(7, false, {0, 100}).items);
    EXPECT_THAT(right.FindDamage(), IsEmpty());
  }

  /// What a search for words finds.
  static std::vector<int32_t> Listed(MediaIndex &index, int owner) {
    SongList list;
    list.owner = owner;
    list.words = "apfel artist";
    list.sort = {Field::kArtist, Field::kAlbum};
    std::vector<int32_t> ids;
    for (const CatalogSong &song : index.ListSongs(list, {0, 100}).items) {
      ids.push_back(song.song.id);
    }
    return ids;
  }

  /// What a new song and a new playlist get.
  static std::pair<int32_t, int32_t> NextIds(MediaIndex &index) {
    index.WriteSongs({MakeSong("/new")}, {});
    return {index.SongsByPath({"/new"}).at(0).id, index.AddPlaylist(MakePlaylist("/new"))};
  }

  static void Copy(MediaIndex &from, MediaIndex &to) {
    CopyIndex(from, to, [](const std::string &, int64_t, int64_t) {});
  }

  TemporaryFolder folder_;
};

TEST_F(Move, ToTheServerAndBackKeepsEverythingWithItsIds) {
  const auto first = File("first.db");
  const auto server = Server();
  const auto last = File("last.db");
  Fill(*first);
  Copy(*first, *server);
  ExpectSame(*first, *server);
  Copy(*server, *last);
  ExpectSame(*first, *last);
  const auto next = NextIds(*first);
  EXPECT_EQ(NextIds(*server), next);
  EXPECT_EQ(NextIds(*last), next);
  // The mark of a song that was gone.
  Song back = MakeSong("/m/2/2.ogg");
  server->WriteSongs({back}, {});
  EXPECT_EQ(server->MarksOf(7, {server->SongsByPath({back.path}).at(0).id}).size(), 1U);
  EXPECT_THAT(server->FindDamage(), IsEmpty());
}

TEST_F(Move, AnEmptyIndexIsMovedAsWell) {
  const auto server = Server();
  Copy(*File("empty.db"), *server);
  EXPECT_EQ(NextIds(*server), std::pair(1, 1));
}

TEST_F(Move, ATargetThatIsNotEmptyIsLeftAsItIs) {
  const auto first = File("first.db");
  const auto server = Server();
  Fill(*first);
  const int32_t id = server->AddPlaylist(MakePlaylist("/a"));
  EXPECT_THROW(Copy(*first, *server), IndexError);
  EXPECT_THAT(server->SongFiles(0), IsEmpty());
  EXPECT_EQ(server->PlaylistByPath(0, "/a")->id, id);
}

} // namespace
} // namespace vexo::index
