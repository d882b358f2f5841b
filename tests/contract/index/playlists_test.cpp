#include "contract/index/engine.h"

#include <gmock/gmock.h>

namespace vexo::index {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

using PlaylistRows = IndexTest;
VEXO_FOR_EACH_ENGINE(PlaylistRows);

std::vector<std::string> Paths(const std::vector<Playlist> &playlists) {
  std::vector<std::string> paths;
  paths.reserve(playlists.size());
  for (const Playlist &playlist : playlists) {
    paths.push_back(playlist.path);
  }
  return paths;
}

TEST_P(PlaylistRows, ARowIsReadAsItWasAdded) {
  const Playlist added = MakePlaylist("/m/playlists/a.m3u", 7);
  const int32_t id = index().AddPlaylist(added);
  const auto row = index().PlaylistByPath(7, added.path);
  ASSERT_TRUE(row);
  EXPECT_EQ(row->id, id);
  EXPECT_EQ(row->owner, 7);
  EXPECT_EQ(row->path, added.path);
  EXPECT_EQ(row->title, added.title);
  EXPECT_EQ(row->album, added.album);
  EXPECT_EQ(row->change_time, added.change_time);
  EXPECT_EQ(row->modification_time, added.modification_time);
  EXPECT_EQ(row->size_bytes, added.size_bytes);
  EXPECT_EQ(row->file.inode, added.file.inode);
  EXPECT_EQ(row->file.born_ns, added.file.born_ns);
}

TEST_P(PlaylistRows, ARowOutlivesTheProcessThatAddedIt) {
  const int32_t id = index().AddPlaylist(MakePlaylist("/a.m3u"));
  EXPECT_EQ(Open()->PlaylistByPath(0, "/a.m3u")->id, id);
  index_.reset();
  EXPECT_EQ(Open()->PlaylistByPath(0, "/a.m3u")->id, id);
}

TEST_P(PlaylistRows, IdsArePositive) { EXPECT_GT(index().AddPlaylist(MakePlaylist("/a.m3u")), 0); }

TEST_P(PlaylistRows, AnIdIsNeverGivenAgain) {
  const int32_t first = index().AddPlaylist(MakePlaylist("/a.m3u"));
  ASSERT_TRUE(index().RemovePlaylist(0, first));
  index_ = Open();
  EXPECT_GT(index().AddPlaylist(MakePlaylist("/a.m3u")), first);
}

TEST_P(PlaylistRows, APathIsUniqueInItsLibrary) {
  index().AddPlaylist(MakePlaylist("/a.m3u"));
  EXPECT_THROW(index().AddPlaylist(MakePlaylist("/a.m3u")), IndexError);
  EXPECT_THAT(Paths(index().AllPlaylists(0)), ElementsAre("/a.m3u"));
}

TEST_P(PlaylistRows, TwoLibrariesMayHaveTheSamePath) {
  const int32_t shared = index().AddPlaylist(MakePlaylist("/a.m3u"));
  EXPECT_NE(index().AddPlaylist(MakePlaylist("/a.m3u", 1)), shared);
}

TEST_P(PlaylistRows, AnUpdateTakesAllValuesButIdAndOwner) {
  const int32_t id = index().AddPlaylist(MakePlaylist("/a.m3u", 3));
  Playlist values = MakePlaylist("/b.m3u", 9);
  values.size_bytes = 1;
  EXPECT_TRUE(index().UpdatePlaylist(3, id, values));
  const auto row = index().PlaylistByPath(3, "/b.m3u");
  ASSERT_TRUE(row);
  EXPECT_EQ(row->id, id);
  EXPECT_EQ(row->title, values.title);
  EXPECT_EQ(row->size_bytes, 1U);
  EXPECT_FALSE(index().PlaylistByPath(3, "/a.m3u"));
}

TEST_P(PlaylistRows, AnUpdateByPathKeepsTheId) {
  const int32_t id = index().AddPlaylist(MakePlaylist("/a.m3u"));
  EXPECT_TRUE(index().UpdatePlaylist(0, "/a.m3u", MakePlaylist("/b.m3u")));
  EXPECT_EQ(index().PlaylistByPath(0, "/b.m3u")->id, id);
}

TEST_P(PlaylistRows, AnUpdateOfNoRowSaysSo) {
  const int32_t id = index().AddPlaylist(MakePlaylist("/a.m3u", 1));
  EXPECT_FALSE(index().UpdatePlaylist(0, id, MakePlaylist("/b.m3u")));
  EXPECT_FALSE(index().UpdatePlaylist(2, "/a.m3u", MakePlaylist("/b.m3u")));
  EXPECT_FALSE(index().RemovePlaylist(0, id));
  EXPECT_THAT(Paths(index().AllPlaylists(1)), ElementsAre("/a.m3u"));
}

TEST_P(PlaylistRows, AnUpdateToATakenPathThrowsAndChangesNothing) {
  const int32_t id = index().AddPlaylist(MakePlaylist("/a.m3u"));
  index().AddPlaylist(MakePlaylist("/b.m3u"));
  EXPECT_THROW((void)index().UpdatePlaylist(0, id, MakePlaylist("/b.m3u")), IndexError);
  EXPECT_THAT(Paths(index().AllPlaylists(0)), ElementsAre("/a.m3u", "/b.m3u"));
}

TEST_P(PlaylistRows, ATransactionIsOneChangeForOthersAndDurableOnceItIsDone) {
  const int32_t id = index().AddPlaylist(MakePlaylist("/a.m3u"));
  for (const auto durable : {MediaIndex::Durable::kNow, MediaIndex::Durable::kSoon}) {
    const std::string path = durable == MediaIndex::Durable::kNow ? "/now.m3u" : "/soon.m3u";
    index().InTransaction(durable, [&] {
      ASSERT_TRUE(index().UpdatePlaylist(0, id, MakePlaylist(path)));
      EXPECT_EQ(index().PlaylistByPath(0, path)->id, id);
      EXPECT_FALSE(Open()->PlaylistByPath(0, path)) << "others see nothing as yet";
    });
    EXPECT_EQ(Open()->PlaylistByPath(0, path)->id, id);
  }
}

TEST_P(PlaylistRows, ATransactionThatThrowsChangesNothing) {
  index().AddPlaylist(MakePlaylist("/a.m3u"));
  for (const auto durable : {MediaIndex::Durable::kNow, MediaIndex::Durable::kSoon}) {
    EXPECT_THROW(index().InTransaction(durable,
                                       [&] {
                                         index().AddPlaylist(MakePlaylist("/b.m3u"));
                                         throw std::runtime_error("given up");
                                       }),
                 std::runtime_error);
  }
  index().AddPlaylist(MakePlaylist("/c.m3u"));
  EXPECT_THAT(Paths(index().AllPlaylists(0)), ElementsAre("/a.m3u", "/c.m3u"));
}

TEST_P(PlaylistRows, RowsAreFoundByAListOfIds) {
  const int32_t a = index().AddPlaylist(MakePlaylist("/a.m3u"));
  const int32_t b = index().AddPlaylist(MakePlaylist("/b.m3u"));
  const int32_t other = index().AddPlaylist(MakePlaylist("/c.m3u", 1));
  EXPECT_THAT(Paths(index().PlaylistsById(0, {b, 999, a, other, b, 0, -1})),
              UnorderedElementsAre("/a.m3u", "/b.m3u"));
  EXPECT_THAT(index().PlaylistsById(0, {}), IsEmpty());
}

TEST_P(PlaylistRows, PathsAreComparedByTheirBytes) {
  index().AddPlaylist(MakePlaylist("/100%_a\xff.m3u"));
  EXPECT_TRUE(index().PlaylistByPath(0, "/100%_a\xff.m3u"));
  EXPECT_FALSE(index().PlaylistByPath(0, "/100%_A\xff.m3u"));
  EXPECT_FALSE(index().PlaylistByPath(0, "/100%%a\xff.m3u"));
}

} // namespace
} // namespace vexo::index
