#include "contract/index/engine.h"

#include <cmath>
#include <gmock/gmock.h>
#include <map>
#include <set>

namespace vexo::index {
namespace {

using ::testing::IsEmpty;
using ::testing::SizeIs;

class RandomSongs : public IndexTest {
protected:
  /// Adds songs; every `step`th of them is of owner 0, the others of owner 1.
  void Fill(int songs, int step) {
    std::vector<Song> added;
    added.reserve(static_cast<std::size_t>(songs));
    for (int i = 0; i < songs; ++i) {
      added.push_back(MakeSong("/" + std::to_string(i), i % step == 0 ? 0 : 1));
    }
    index().WriteSongs(added, {});
  }

  std::vector<int32_t> Draw(int count) {
    std::vector<int32_t> ids;
    for (const Song &song : index().RandomSongs(0, count)) {
      EXPECT_EQ(song.owner, 0);
      ids.push_back(song.id);
    }
    return ids;
  }

  /// How uneven the counts of `cells` equally likely things are after `draws`: Pearson's statistic,
  /// which exceeds cells + 6 * sqrt(2 * cells) once in a hundred million runs of a fair source.
  static void ExpectUniform(const std::map<int32_t, int> &counts, int cells, int draws) {
    const double expected = static_cast<double>(draws) / cells;
    double statistic = 0;
    for (const auto &[id, count] : counts) {
      statistic += (count - expected) * (count - expected) / expected;
    }
    statistic += expected * (cells - static_cast<double>(counts.size()));
    EXPECT_LT(statistic, cells + 6 * std::sqrt(2.0 * cells) + 20);
  }

  /// Draws many times and expects every song in every place equally often.
  void ExpectFair(int songs, int count, int rounds) {
    std::map<int32_t, int> drawn;
    std::map<int32_t, int> first;
    for (int round = 0; round < rounds; ++round) {
      const std::vector<int32_t> ids = Draw(count);
      ASSERT_THAT(ids, SizeIs(static_cast<std::size_t>(count)));
      ASSERT_THAT(std::set<int32_t>(ids.begin(), ids.end()), SizeIs(ids.size()));
      ++first[ids.front()];
      for (const int32_t id : ids) {
        ++drawn[id];
      }
    }
    ExpectUniform(drawn, songs, rounds * count);
    ExpectUniform(first, songs, rounds);
  }
};
VEXO_FOR_EACH_ENGINE(RandomSongs);

TEST_P(RandomSongs, EverySongIsAsLikelyInEveryPlace) {
  Fill(100, 1);
  ExpectFair(100, 5, 2000);
}

TEST_P(RandomSongs, TheChoiceIsAsFairWhereMostIdsAreNotTheOwners) {
  Fill(1000, 40);
  ExpectFair(25, 5, 500);
}

TEST_P(RandomSongs, TheChoiceIsAsFairWithSongsRemoved) {
  Fill(150, 1);
  std::vector<int32_t> removed;
  for (int32_t id = 1; id <= 100; ++id) {
    removed.push_back(id);
  }
  index().WriteSongs({}, removed);
  ExpectFair(50, 3, 1000);
}

TEST_P(RandomSongs, WithFewerSongsAllComeInRandomOrder) {
  Fill(4, 1);
  std::set<std::vector<int32_t>> orders;
  for (int i = 0; i < 400; ++i) {
    const std::vector<int32_t> ids = Draw(100);
    ASSERT_THAT(std::set<int32_t>(ids.begin(), ids.end()), SizeIs(4));
    orders.insert(ids);
  }
  EXPECT_GT(orders.size(), 12U);
}

TEST_P(RandomSongs, AnEmptyLibraryGivesNone) {
  EXPECT_THAT(Draw(100), IsEmpty());
  Fill(3, 1);
  EXPECT_THAT(index().RandomSongs(9, 100), IsEmpty());
}

TEST_P(RandomSongs, NoSongsAreAskedFor) {
  Fill(3, 1);
  EXPECT_THAT(Draw(0), IsEmpty());
  EXPECT_THAT(Draw(-1), IsEmpty());
}

} // namespace
} // namespace vexo::index
