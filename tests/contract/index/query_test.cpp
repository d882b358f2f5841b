#include "contract/index/engine.h"

#include <gmock/gmock.h>
#include <set>

namespace vexo::index {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using ::testing::UnorderedElementsAre;

Condition Leaf(Field field, Comparison comparison, const std::string &text) {
  Condition test;
  test.field = field;
  test.comparison = comparison;
  test.text = text;
  return test;
}

Condition Leaf(Field field, Comparison comparison, int64_t number) {
  Condition test = Leaf(field, comparison, "");
  test.number = number;
  return test;
}

Condition Join(Condition::Kind kind, std::vector<Condition> children) {
  Condition condition;
  condition.kind = kind;
  condition.children = std::move(children);
  return condition;
}

Condition Not(const Condition &condition) { return Join(Condition::Kind::kNot, {condition}); }

class SongQueries : public IndexTest {
protected:
  void SetUp() override {
    Song one = MakeSong("/one.mp3");
    one.title = "Größe 100%_";
    one.comment = "with";
    one.year = 1990;
    one.duration_seconds = 100.9;
    one.time_added = 1000;
    one.compilation = true;
    Song two = MakeSong("/two.mp3");
    two.title = "größer";
    two.year = 2000;
    two.duration_seconds = 101;
    two.time_added = 2000;
    Song other = MakeSong("/other.mp3", 7);
    other.title = "größe";
    index().WriteSongs({one, two, other}, {});
  }

  std::vector<std::string> Find(const SongQuery &query, int owner = 0) {
    std::vector<std::string> paths;
    for (const Song &song : index().QuerySongs(owner, query)) {
      paths.push_back(song.path);
    }
    return paths;
  }

  std::vector<std::string> Where(const Condition &condition) {
    SongQuery query;
    query.where = condition;
    return Find(query);
  }
};
VEXO_FOR_EACH_ENGINE(SongQueries);

using enum Comparison;

TEST_P(SongQueries, TextsAreComparedWithoutLetterCase) {
  EXPECT_THAT(Where(Leaf(Field::kTitle, kIs, "GRÖßER")), ElementsAre("/two.mp3"));
  EXPECT_THAT(Where(Leaf(Field::kTitle, kIs, "größe")), IsEmpty());
  EXPECT_THAT(Where(Leaf(Field::kTitle, kIncludes, "RÖß")), ElementsAre("/one.mp3", "/two.mp3"));
  EXPECT_THAT(Where(Leaf(Field::kTitle, kStartsWith, "grö")), ElementsAre("/one.mp3", "/two.mp3"));
  EXPECT_THAT(Where(Leaf(Field::kTitle, kStartsWith, "rö")), IsEmpty());
  EXPECT_THAT(Where(Leaf(Field::kTitle, kEndsWith, "ßER")), ElementsAre("/two.mp3"));
  EXPECT_THAT(Where(Leaf(Field::kTitle, kEndsWith, "a longer text than größer")), IsEmpty());
}

TEST_P(SongQueries, AreAskedForInParts) {
  SongQuery query;
  query.offset = 1;
  EXPECT_THAT(Find(query), ElementsAre("/two.mp3"));
  query.limit = 5;
  EXPECT_THAT(Find(query), ElementsAre("/two.mp3"));
  query.offset = 2;
  EXPECT_THAT(Find(query), IsEmpty());
  query.offset = 0;
  query.limit = 1;
  EXPECT_THAT(Find(query), ElementsAre("/one.mp3"));
}

TEST_P(SongQueries, AreCounted) {
  SongQuery query;
  const SongTotals all = index().CountSongs(0, query);
  EXPECT_EQ(all.songs, 2);
  EXPECT_DOUBLE_EQ(all.duration_seconds, 201.9);
  query.random = true;
  EXPECT_EQ(index().CountSongs(0, query).songs, 2);
  query.with_shared = true;
  EXPECT_EQ(index().CountSongs(7, query).songs, 3);
  query.random = false;
  query.limit = 1;
  EXPECT_DOUBLE_EQ(index().CountSongs(0, query).duration_seconds, 100.9);
  query.where = Leaf(Field::kTitle, kIs, "nothing");
  EXPECT_EQ(index().CountSongs(0, query).songs, 0);
}

TEST_P(SongQueries, PercentAndUnderscoreArePlain) {
  EXPECT_THAT(Where(Leaf(Field::kTitle, kIncludes, "100%_")), ElementsAre("/one.mp3"));
  EXPECT_THAT(Where(Leaf(Field::kTitle, kIncludes, "gr%")), IsEmpty());
  EXPECT_THAT(Where(Leaf(Field::kTitle, kEndsWith, "_")), ElementsAre("/one.mp3"));
  EXPECT_THAT(Where(Leaf(Field::kTitle, kIs, "' OR 1=1 --")), IsEmpty());
}

TEST_P(SongQueries, AnUnknownTextIsEmptyAndNegationsHoldForIt) {
  EXPECT_THAT(Where(Leaf(Field::kComment, kIs, "")), ElementsAre("/two.mp3"));
  EXPECT_THAT(Where(Not(Leaf(Field::kComment, kIncludes, "with"))), ElementsAre("/two.mp3"));
  EXPECT_THAT(Where(Not(Leaf(Field::kComposer, kIs, "x"))), ElementsAre("/one.mp3", "/two.mp3"));
  EXPECT_THAT(Where(Leaf(Field::kComment, kIncludes, "")), ElementsAre("/one.mp3", "/two.mp3"));
  EXPECT_THAT(Where(Leaf(Field::kComment, kEndsWith, "")), ElementsAre("/one.mp3", "/two.mp3"));
}

TEST_P(SongQueries, NumbersAreComparedInEveryWay) {
  const std::vector<std::pair<Comparison, std::vector<std::string>>> cases = {
      {kEqual, {"/one.mp3"}},
      {kNotEqual, {"/two.mp3"}},
      {kLess, {}},
      {kLessEqual, {"/one.mp3"}},
      {kGreater, {"/two.mp3"}},
      {kGreaterEqual, {"/one.mp3", "/two.mp3"}},
  };
  for (const auto &[comparison, found] : cases) {
    EXPECT_EQ(Where(Leaf(Field::kYear, comparison, 1990)), found) << static_cast<int>(comparison);
  }
}

TEST_P(SongQueries, LengthsAreWholeSeconds) {
  EXPECT_THAT(Where(Leaf(Field::kSongLength, kEqual, 100)), ElementsAre("/one.mp3"));
  EXPECT_THAT(Where(Leaf(Field::kSongLength, kGreater, 100)), ElementsAre("/two.mp3"));
}

TEST_P(SongQueries, EveryFieldCanBeTested) {
  for (int field = 0; field <= static_cast<int>(Field::kType); ++field) {
    EXPECT_THAT(Where(Not(Leaf(static_cast<Field>(field), kIs, "no such text"))), SizeIs(2));
  }
  for (int field = static_cast<int>(Field::kYear); field <= static_cast<int>(Field::kTimeModified);
       ++field) {
    EXPECT_THAT(Where(Leaf(static_cast<Field>(field), kGreaterEqual, 0)), SizeIs(2));
  }
  EXPECT_THAT(Where(Leaf(Field::kCompilation, kEqual, 1)), ElementsAre("/one.mp3"));
}

TEST_P(SongQueries, ConditionsAreJoined) {
  const Condition old = Leaf(Field::kYear, kLess, 1995);
  const Condition grown = Leaf(Field::kTitle, kEndsWith, "r");
  EXPECT_THAT(Where(Join(Condition::Kind::kAnd, {old, grown})), IsEmpty());
  EXPECT_THAT(Where(Join(Condition::Kind::kOr, {old, grown})), ElementsAre("/one.mp3", "/two.mp3"));
  EXPECT_THAT(Where(Join(Condition::Kind::kAnd, {Not(old), grown})), ElementsAre("/two.mp3"));
  EXPECT_THAT(Where(Not(Join(Condition::Kind::kOr, {old, Not(grown)}))), ElementsAre("/two.mp3"));
  EXPECT_THAT(Where(Not(Not(old))), ElementsAre("/one.mp3"));
}

TEST_P(SongQueries, ConditionsNestTwoHundredDeep) {
  Condition condition = Leaf(Field::kYear, kEqual, 1990);
  for (int level = 0; level < 200; ++level) {
    const bool even = level % 2 == 0;
    condition = Join(even ? Condition::Kind::kAnd : Condition::Kind::kOr,
                     {Leaf(Field::kYear, even ? kGreater : kLess, 1),
                      level % 3 == 0 ? Not(Not(condition)) : condition});
  }
  EXPECT_THAT(Where(condition), ElementsAre("/one.mp3"));
}

TEST_P(SongQueries, NegationsNestTwoHundredDeep) {
  Condition condition = Leaf(Field::kYear, kEqual, 1990);
  for (int level = 0; level < 200; ++level) {
    condition = Not(condition);
  }
  EXPECT_THAT(Where(condition), ElementsAre("/one.mp3"));
}

TEST_P(SongQueries, ThousandsOfConditionsStandSideBySide) {
  std::vector<Condition> years;
  for (int year = 5000; year > 1999; --year) {
    years.push_back(Join(Condition::Kind::kAnd, {Leaf(Field::kYear, kEqual, year),
                                                 Leaf(Field::kTitle, kStartsWith, "G")}));
  }
  EXPECT_THAT(Where(Join(Condition::Kind::kOr, years)), ElementsAre("/two.mp3"));
}

TEST_P(SongQueries, NoConditionMeansEverySongOfTheOwner) {
  EXPECT_THAT(Find({}), ElementsAre("/one.mp3", "/two.mp3"));
  EXPECT_THAT(Find({}, 7), ElementsAre("/other.mp3"));
}

TEST_P(SongQueries, TheSharedSongsComeTooWhenAskedFor) {
  SongQuery query;
  query.with_shared = true;
  EXPECT_THAT(Find(query, 7), UnorderedElementsAre("/one.mp3", "/two.mp3", "/other.mp3"));
  query.where = Leaf(Field::kTitle, kIs, "größe");
  EXPECT_THAT(Find(query, 7), ElementsAre("/other.mp3"));
}

TEST_P(SongQueries, SongsComeInTheOrderAskedForAndNotMoreThanTheLimit) {
  SongQuery query;
  query.order = Field::kYear;
  query.ascending = false;
  EXPECT_THAT(Find(query), ElementsAre("/two.mp3", "/one.mp3"));
  query.limit = 1;
  EXPECT_THAT(Find(query), ElementsAre("/two.mp3"));
  query.order = Field::kTitle;
  query.ascending = true;
  EXPECT_THAT(Find(query), ElementsAre("/one.mp3"));
}

TEST_P(SongQueries, RandomOrderHasEverySongOnceAndRespectsConditionAndLimit) {
  SongQuery query;
  query.random = true;
  EXPECT_THAT(Find(query), UnorderedElementsAre("/one.mp3", "/two.mp3"));
  query.where = Leaf(Field::kYear, kEqual, 2000);
  EXPECT_THAT(Find(query), ElementsAre("/two.mp3"));
  query.where.reset();
  query.limit = 1;
  std::set<std::string> seen;
  for (int i = 0; i < 200 && seen.size() < 2; ++i) {
    const std::vector<std::string> found = Find(query);
    ASSERT_THAT(found, SizeIs(1));
    seen.insert(found[0]);
  }
  EXPECT_THAT(seen, SizeIs(2));
}

} // namespace
} // namespace vexo::index
