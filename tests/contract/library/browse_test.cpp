// What a user finds when going through the libraries.
#include "accounts/libraries.h"
#include "catalog/browse.h"
#include "contract/index/engine.h"
#include "support/temporary_folder.h"
#include "system/paths.h"
#include <filesystem>
#include <gmock/gmock.h>

namespace vexo::catalog {
namespace {

using index::Group;
using index::GroupKind;
using ::testing::ElementsAre;

/// An index of this test's own, and a user with a personal library and one without.
class Browse : public ::testing::TestWithParam<index::Engine> {
protected:
  Browse() {
    std::filesystem::create_directories(folder_ / "shared");
    std::filesystem::create_directories(std::filesystem::path(system::kMusicLink).parent_path());
    std::filesystem::remove(system::kMusicLink);
    std::filesystem::create_directory_symlink(folder_ / "shared", system::kMusicLink);
    anna_.id = 7;
    anna_.personal_library = true;
    anna_.personal_folder = folder_ / "anna";
    ben_.id = 8;
    index::SetProcessIndex(GetParam().open(folder_.path()));
  }
  ~Browse() override {
    index::SetProcessIndex(nullptr);
    std::filesystem::remove(system::kMusicLink);
  }
  Browse(const Browse &) = delete;
  Browse &operator=(const Browse &) = delete;

  void Add(const std::string &path, int owner, const std::string &album, int32_t track = 0) {
    index::Song song;
    song.owner = owner;
    song.path = folder_ / (owner == 0 ? "shared/" : "anna/") + path;
    song.title = path;
    song.artist = "Artist";
    song.album = album;
    song.track = track;
    song.size_bytes = 10;
    song.duration_seconds = 1.5;
    index::ProcessIndex().WriteSongs({song}, {});
  }

  [[nodiscard]] Group Top(int owner) const {
    const auto top = TopFolder(LibraryOf(anna_, owner));
    EXPECT_TRUE(top);
    return top.value_or(Group());
  }

  static std::vector<std::string> Names(const FolderContent &content) {
    std::vector<std::string> names;
    for (const Group &folder : content.folders) {
      names.push_back(folder.name.substr(folder.name.rfind('/') + 1) + "/");
    }
    for (const index::CatalogSong &song : content.songs) {
      names.push_back(song.song.title);
    }
    return names;
  }

  TemporaryFolder folder_;
  accounts::Account anna_, ben_;
};
VEXO_FOR_EACH_ENGINE(Browse);

TEST_P(Browse, ALibraryIsCounted) {
  Add("a/1", 0, "Blue");
  Add("b/2", 0, "Red");
  Add("3", 7, "Blue");
  const LibraryCounts shared = CountLibrary(LibraryOf(anna_, 0));
  EXPECT_EQ(shared.songs, 2);
  EXPECT_EQ(shared.albums, 2);
  EXPECT_EQ(shared.artists, 1);
  EXPECT_EQ(shared.duration_ms, 3000);
  EXPECT_EQ(shared.size_bytes, 20);
  EXPECT_EQ(CountLibrary(LibraryOf(anna_, 7)).songs, 1);
}

TEST_P(Browse, AnEmptyLibraryHasNothing) {
  EXPECT_FALSE(TopFolder(LibraryOf(anna_, 0)));
  EXPECT_EQ(CountLibrary(LibraryOf(anna_, 0)).songs, 0);
}

TEST_P(Browse, AFolderHasParentsUpToTheLibrarys) {
  Add("a/b/c/1", 0, "");
  const Library library = LibraryOf(anna_, 0);
  std::vector<std::string> paths;
  Group folder = Top(0);
  EXPECT_THAT(ParentsOf(folder, library), ElementsAre());
  for (int depth = 0; depth < 3; ++depth) {
    folder = ReadFolder(folder, {0, 1}).folders.at(0);
  }
  for (const Group &parent : ParentsOf(folder, library)) {
    paths.push_back(PathInLibrary(parent, library));
  }
  EXPECT_THAT(paths, ElementsAre("", "a", "a/b"));
}

TEST_P(Browse, AFolderIsReadFoldersFirst) {
  for (const auto *const path : {"b/1", "a/2", "a/x/3", "song 2", "song 1"}) {
    Add(path, 0, "");
  }
  const Group top = Top(0);
  EXPECT_EQ(top.songs, 5);
  const std::vector<std::string> all = {"a/", "b/", "song 1", "song 2"};
  for (int64_t offset = 0; offset < 6; ++offset) {
    for (int64_t limit = 0; limit < 6; ++limit) {
      const FolderContent content = ReadFolder(top, {offset, limit});
      EXPECT_EQ(content.total, 4);
      const auto begin = all.begin() + std::min<int64_t>(offset, 4);
      const auto end = all.begin() + std::min<int64_t>(offset + limit, 4);
      EXPECT_EQ(Names(content), std::vector<std::string>(begin, end)) << offset << " " << limit;
    }
  }
  EXPECT_EQ(PathInLibrary(top, LibraryOf(anna_, 0)), "");
  EXPECT_EQ(PathInLibrary(ReadFolder(top, {0, 1}).folders.at(0), LibraryOf(anna_, 0)), "a");
}

TEST_P(Browse, FoldersAboveALibraryAreNobodys) {
  Add("a/1", 0, "");
  const Group top = Top(0);
  EXPECT_TRUE(FindGroup(anna_, GroupKind::kFolder, top.id));
  ASSERT_GT(top.parent_id, 0);
  EXPECT_FALSE(FindGroup(anna_, GroupKind::kFolder, top.parent_id));
}

TEST_P(Browse, AnotherUsersLibraryDoesNotExist) {
  Add("1", 7, "Blue");
  const int32_t song = index::ProcessIndex().SongFiles(7).at(0).id;
  const int32_t album = index::ProcessIndex().FindSong(7, song)->groups.album;
  EXPECT_TRUE(FindCatalogSong(anna_, song));
  EXPECT_FALSE(FindCatalogSong(ben_, song));
  EXPECT_TRUE(FindGroup(anna_, GroupKind::kAlbum, album));
  EXPECT_FALSE(FindGroup(ben_, GroupKind::kAlbum, album));
  EXPECT_FALSE(GroupMeant(ben_, GroupKind::kAlbum, std::to_string(album), std::nullopt));
  EXPECT_FALSE(GroupMeant(ben_, GroupKind::kArtist, "Artist", std::nullopt));
  EXPECT_EQ(GroupMeant(anna_, GroupKind::kArtist, "ARTIST", std::nullopt)->owner, 7);
  EXPECT_FALSE(GroupMeant(anna_, GroupKind::kArtist, "Artist", 0)) << "not in the shared library";
}

TEST_P(Browse, AGroupIsMeantByIdOrName) {
  Add("a/1", 0, "Blue");
  const Group artist = GroupMeant(ben_, GroupKind::kArtist, "artist", 0).value();
  EXPECT_EQ(GroupMeant(ben_, GroupKind::kArtist, std::to_string(artist.id), std::nullopt), artist);
  for (const auto *const text : {"", "Nobody", "0", "-1", "99999999999"}) {
    EXPECT_FALSE(GroupMeant(ben_, GroupKind::kArtist, text, std::nullopt)) << text;
  }
  EXPECT_FALSE(GroupMeant(ben_, GroupKind::kAlbum, "Blue", std::nullopt)) << "many have that name";
}

TEST_P(Browse, AnAlbumsSongsComeByDiscAndTrack) {
  Add("a/CD 2/1", 0, "Blue", 1);
  Add("a/CD 1/2", 0, "Blue", 2);
  Add("a/CD 1/1", 0, "Blue", 1);
  index::GroupList albums;
  const Group album = index::ProcessIndex().ListGroups(albums, {0, 1}).items.at(0);
  std::vector<std::string> titles;
  for (const index::CatalogSong &song : AlbumSongs(album, {0, 10}).items) {
    titles.push_back(song.song.title);
  }
  EXPECT_THAT(titles, ElementsAre("a/CD 1/1", "a/CD 1/2", "a/CD 2/1"));
}

} // namespace
} // namespace vexo::catalog
