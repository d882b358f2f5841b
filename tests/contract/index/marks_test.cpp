// Marks: what users think of songs, whatever becomes of the songs.
#include "contract/index/engine.h"

#include "support/processes.h"
#include <gmock/gmock.h>

namespace vexo::index {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr int kAnna = 1, kBen = 2;

class Marks : public IndexTest {
protected:
  /// Adds songs of the paths, and gives their ids.
  std::vector<int32_t> Add(const std::vector<std::string> &paths, int owner = 0) {
    std::vector<Song> songs;
    for (const std::string &path : paths) {
      songs.push_back(MakeSong(path, owner));
    }
    index().WriteSongs(songs, {});
    std::vector<int32_t> ids;
    for (const std::string &path : paths) {
      ids.push_back(IdOf(path));
    }
    return ids;
  }

  int32_t IdOf(const std::string &path) {
    const std::vector<Song> songs = index().SongsByPath({path});
    return songs.empty() ? 0 : songs.front().id;
  }

  Mark MarkOf(int user, int32_t song) {
    const std::vector<SongMark> marks = index().MarksOf(user, {song});
    return marks.empty() ? Mark() : marks.front().mark;
  }

  Mark Rate(int user, int32_t song, int rating) {
    return index().ChangeMark(user, song, {.rating = rating, .now = 100}).value_or(Mark());
  }

  std::vector<std::string> Query(int user, Field field, Comparison comparison, int64_t number) {
    SongQuery query;
    query.user = user;
    Condition condition;
    condition.field = field;
    condition.comparison = comparison;
    condition.number = number;
    query.where = condition;
    query.order = field;
    query.ascending = false;
    std::vector<std::string> paths;
    for (const Song &song : index().QuerySongs(0, query)) {
      paths.push_back(song.path);
    }
    EXPECT_EQ(index().CountSongs(0, query).songs, static_cast<int64_t>(paths.size()));
    return paths;
  }
};
VEXO_FOR_EACH_ENGINE(Marks);

TEST_P(Marks, AreChangedInPartsAndPerUser) {
  const int32_t song = Add({"/a"}).front();
  EXPECT_EQ(MarkOf(kAnna, song), Mark());
  EXPECT_EQ(index().ChangeMark(kAnna, song, {.star = true, .now = 100}), (Mark{0, 0, 100, 0}));
  EXPECT_EQ(index().ChangeMark(kAnna, song, {.rating = 4, .now = 200}), (Mark{4, 0, 100, 0}));
  EXPECT_EQ(index().ChangeMark(kAnna, song, {.star = true, .now = 300}), (Mark{4, 0, 100, 0}));
  EXPECT_EQ(index().ChangeMark(kAnna, song, {.played = true, .now = 400}), (Mark{4, 1, 100, 400}));
  EXPECT_EQ(index().ChangeMark(kAnna, song, {.played = true, .now = 500}), (Mark{4, 2, 100, 500}));
  EXPECT_EQ(index().ChangeMark(kAnna, song, {.star = false, .rating = 0, .now = 600}),
            (Mark{0, 2, 0, 500}));
  EXPECT_EQ(MarkOf(kBen, song), Mark());
  EXPECT_EQ(MarkOf(kAnna, song), (Mark{0, 2, 0, 500}));
  EXPECT_EQ(Open()->MarksOf(kAnna, {song}).size(), 1U);
}

TEST_P(Marks, OfASongThatIsNotThereAreNone) {
  const int32_t song = Add({"/a"}).front();
  EXPECT_EQ(index().ChangeMark(kAnna, song + 1, {.star = true}), std::nullopt);
  EXPECT_THAT(index().MarksOf(kAnna, {song, song + 1, -1}), IsEmpty());
}

TEST_P(Marks, AreListedBySong) {
  const std::vector<int32_t> ids = Add({"/a", "/b", "/c", "/d"});
  Rate(kAnna, ids[2], 3);
  Rate(kAnna, ids[0], 1);
  Rate(kBen, ids[1], 5);
  index().ChangeMark(kAnna, ids[3], {.star = true, .now = 9});
  const SongMark first{ids[0], {1, 0, 0, 0}}, third{ids[2], {3, 0, 0, 0}};
  const SongMark fourth{ids[3], {0, 0, 9, 0}};
  EXPECT_THAT(index().MarksOf(kAnna, {ids[3], ids[1], ids[0], ids[3]}), ElementsAre(first, fourth));
  const Page<SongMark> page = index().ListMarks(kAnna, false, {1, 1});
  EXPECT_EQ(page.total, 3);
  EXPECT_THAT(page.items, ElementsAre(third));
  const Page<SongMark> starred = index().ListMarks(kAnna, true, {0, 10});
  EXPECT_EQ(starred.total, 1);
  EXPECT_THAT(starred.items, ElementsAre(fourth));
}

TEST_P(Marks, StayWhenAFileMoves) {
  const int32_t song = Add({"/a"}).front();
  Rate(kAnna, song, 5);
  Song moved = MakeSong("/b/moved");
  moved.id = song;
  index().WriteSongs({moved, MakeSong("/a")}, {});
  EXPECT_EQ(MarkOf(kAnna, song).rating, 5);
  EXPECT_EQ(MarkOf(kAnna, IdOf("/a")), Mark());
}

TEST_P(Marks, ReturnWithASongThatComesBackToItsPath) {
  const std::vector<int32_t> ids = Add({"/a", "/b"});
  Rate(kAnna, ids[0], 5);
  Rate(kBen, ids[0], 2);
  Rate(kAnna, ids[1], 1);
  index().WriteSongs({}, {ids[0]});
  EXPECT_EQ(MarkOf(kAnna, ids[0]), Mark());
  EXPECT_EQ(index().ListMarks(kAnna, false, {0, 10}).total, 1);
  Add({"/c"});
  index_ = Open();
  const int32_t again = Add({"/a"}).front();
  EXPECT_NE(again, ids[0]);
  EXPECT_EQ(MarkOf(kAnna, again).rating, 5);
  EXPECT_EQ(MarkOf(kBen, again).rating, 2);
  EXPECT_EQ(MarkOf(kAnna, ids[1]).rating, 1);
  // Once: the next song of that path, beside it or after it, is another one's.
  index().ChangeMark(kAnna, again, {.rating = 3});
  index().WriteSongs({MakeSong("/a")}, {again});
  EXPECT_EQ(MarkOf(kAnna, IdOf("/a")).rating, 3);
}

TEST_P(Marks, ReturnToTheirOwnLibraryOnly) {
  const int32_t song = Add({"/a"}).front();
  Rate(kAnna, song, 5);
  index().WriteSongs({}, {song});
  const int32_t other = Add({"/a"}, kBen).front();
  EXPECT_EQ(MarkOf(kAnna, other), Mark());
  index().WriteSongs({MakeSong("/a", 0)}, {other});
  EXPECT_EQ(MarkOf(kAnna, IdOf("/a")).rating, 5);
}

TEST_P(Marks, OfAUserGoTogether) {
  const std::vector<int32_t> ids = Add({"/a", "/b"});
  Rate(kAnna, ids[0], 5);
  Rate(kAnna, ids[1], 5);
  Rate(kBen, ids[0], 4);
  index().WriteSongs({}, {ids[1]});
  EXPECT_EQ(index().RemoveMarks(kAnna), 2);
  EXPECT_EQ(index().RemoveMarks(kAnna), 0);
  EXPECT_EQ(MarkOf(kAnna, ids[0]), Mark());
  EXPECT_EQ(MarkOf(kAnna, Add({"/b"}).front()), Mark());
  EXPECT_EQ(MarkOf(kBen, ids[0]).rating, 4);
}

TEST_P(Marks, AreWhatAQueryOfTheirUserSees) {
  const std::vector<int32_t> ids = Add({"/a", "/b", "/c"});
  Rate(kAnna, ids[0], 2);
  Rate(kAnna, ids[1], 5);
  Rate(kBen, ids[2], 3);
  index().ChangeMark(kBen, ids[2], {.played = true, .now = 1});
  EXPECT_THAT(Query(kAnna, Field::kRating, Comparison::kGreater, 1), ElementsAre("/b", "/a"));
  EXPECT_THAT(Query(kBen, Field::kRating, Comparison::kGreater, 1), ElementsAre("/c"));
  EXPECT_THAT(Query(0, Field::kRating, Comparison::kGreater, 1), IsEmpty());
  EXPECT_THAT(Query(kBen, Field::kPlayCount, Comparison::kEqual, 1), ElementsAre("/c"));
  EXPECT_THAT(Query(kAnna, Field::kPlayCount, Comparison::kEqual, 0),
              ElementsAre("/a", "/b", "/c"));
}

TEST_P(Marks, AreSeenByRulesHoweverDeep) {
  const std::vector<int32_t> ids = Add({"/a", "/b"});
  Rate(kAnna, ids[1], 5);
  Condition condition;
  condition.field = Field::kRating;
  condition.comparison = Comparison::kEqual;
  condition.number = 5;
  for (int depth = 0; depth < 200; ++depth) {
    Condition around;
    around.kind = Condition::Kind::kNot;
    around.children = {condition};
    condition = around;
  }
  SongQuery query;
  query.user = kAnna;
  query.where = condition;
  const std::vector<Song> songs = index().QuerySongs(0, query);
  ASSERT_EQ(songs.size(), 1U);
  EXPECT_EQ(songs.front().path, "/b");
}

TEST_P(Marks, OfProcessesAtOnceAreAllCounted) {
  const int32_t song = Add({"/a"}).front();
  index_.reset();
  constexpr int kProcesses = 8, kTimes = 25;
  WaitingProcesses processes(kProcesses, [&](int) {
    const std::unique_ptr<MediaIndex> own = Open();
    for (int i = 0; i < kTimes; ++i) {
      own->ChangeMark(kAnna, song, {.played = true, .now = 1});
    }
    return 0;
  });
  EXPECT_EQ(processes.Run(), kProcesses);
  index_ = Open();
  EXPECT_EQ(MarkOf(kAnna, song).play_count, kProcesses * kTimes);
}

} // namespace
} // namespace vexo::index
