#include "index/media_index.h"
#include "smart/parser.h"
#include "smart/rule_query.h"
#include "smart/vocabulary.h"
#include "support/temporary_folder.h"
#include <algorithm>
#include <ctime>
#include <gtest/gtest.h>
#include <set>
#include <string>

namespace vexo::smart {
namespace {

/// Noon of 2026-11-21 (a Saturday), UTC, which is the time zone of these tests.
constexpr std::time_t kNow = 1795262400;
constexpr int64_t kDay = 86400;

index::Song Full() {
  index::Song song;
  song.title = "Straße im Regen";
  song.artist = "BJÖRK";
  song.album = "100%_live";
  song.album_artist = "Various";
  song.genre = "Jazz";
  song.composer = "Ellington";
  song.comment = "say \"hi\" \\ there";
  song.type = "flac";
  song.path = "/library/full.flac";
  song.year = 1999;
  song.track = 3;
  song.disc = 2;
  song.bitrate = 320000;
  song.sample_rate = 44100;
  song.channels = 2;
  song.duration_seconds = 180.7;
  song.size_bytes = 5'000'000'000;
  song.rating = 80;
  song.play_count = 7;
  song.compilation = true;
  song.time_added = kNow - 3 * kDay;
  song.time_modified = kNow - 400 * kDay;
  return song;
}

struct Row {
  const char *rules;
  bool full, bare; ///< whether the rules choose the song
};

class EvaluationTest : public ::testing::Test {
protected:
  void SetUp() override {
    setenv("TZ", "UTC", 1);
    tzset();
    index::Song bare;
    bare.path = "/library/bare.mp3";
    index_->WriteSongs({Full(), bare}, {});
  }

  /// The paths of what a playlist with these rules holds, in order.
  std::vector<std::string> Paths(const std::string &rules, int owner = 0,
                                 bool with_shared = false) {
    index::SongQuery query = MakeQuery(ParsePlaylist("\"P\" { " + rules + " }"), kNow);
    query.with_shared = with_shared;
    std::vector<std::string> paths;
    for (const index::Song &song : index_->QuerySongs(owner, query)) {
      paths.push_back(song.path);
    }
    return paths;
  }

  template <std::size_t Count> void Check(const Row (&rows)[Count]) {
    for (const Row &row : rows) {
      const std::vector<std::string> paths = Paths(row.rules);
      EXPECT_EQ(std::ranges::count(paths, "/library/full.flac"), row.full) << row.rules;
      EXPECT_EQ(std::ranges::count(paths, "/library/bare.mp3"), row.bare) << row.rules;
    }
  }

  TemporaryFolder folder_;
  std::unique_ptr<index::MediaIndex> index_ = index::OpenSqliteIndex(folder_ / "index.db");
};

const Row kTexts[] = {
    {R"(title is "straße IM regen")", true, false},
    {R"(title is "straße")", false, false},
    {R"(title includes "E im")", true, false},
    {R"(title starts with "STRAß")", true, false},
    {R"(title starts with "im")", false, false},
    {R"(title ends with "REGEN")", true, false},
    {R"(title ends with "im")", false, false},
    {R"(title ends with "and then straße im regen")", false, false},
    {R"(artist is "björk")", true, false},
    {R"(artist includes "JÖR")", true, false},
    {R"(artist not is "björk")", false, true},
    {R"(not artist includes "ö")", false, true},
    {R"(album is "100%_LIVE")", true, false},
    {R"(album includes "%_")", true, false},
    {R"(album includes "0_")", false, false},
    {R"(album is "%")", false, false},
    {R"(album starts with "100_")", false, false},
    {R"(album_artist is "various")", true, false},
    {R"(genre starts with "ja")", true, false},
    {R"(composer ends with "TON")", true, false},
    {R"(comment includes "\"hi\" \\ ")", true, false},
    {R"(type is "FLAC")", true, false},
    {R"(path includes "library")", true, true},
    {R"(path ends with ".MP3")", false, true},
    {R"(title is "'; DROP TABLE songs; --")", false, false},
};

const Row kUnknownTexts[] = {
    {"comment is empty", false, true},
    {R"(comment is "")", false, true},
    {"comment not is empty", true, false},
    {R"(not comment includes "x")", true, true},
    {R"(comment not includes "hi")", false, true},
    {R"(comment not starts with "say")", false, true},
    {R"(comment not ends with "there")", false, true},
    {R"(comment includes "")", true, true},
    {R"(comment starts with "")", true, true},
    {R"(comment ends with "")", true, true},
    {R"(album_artist is empty and composer is empty and genre is empty and type is empty)", false,
     true},
};

const Row kNumbers[] = {
    {"year = 1999", true, false},
    {"year = 0", false, true},
    {"year != 1999", false, true},
    {"year not = 1999", false, true},
    {"year not != 1999", true, false},
    {"year < 1999", false, true},
    {"year not < 1999", true, false},
    {"year <= 1999", true, true},
    {"year not <= 1998", true, false},
    {"year > 1998", true, false},
    {"year not > 1998", false, true},
    {"year >= 1999", true, false},
    {"year not >= 1999", false, true},
    {"track = 3", true, false},
    {"disc = 2", true, false},
    {"bitrate >= 320000", true, false},
    {"samplerate = 44100", true, false},
    {"channels = 2", true, false},
    {"song_length = 180", true, false},
    {"song_length > 180", false, false},
    {"song_length >= 180", true, false},
    {"file_size = 5000000000", true, false},
    {"file_size < 9223372036854775807", true, true},
    {"rating > 79", true, false},
    {"play_count = 0", false, true},
    {"compilation = 1", true, false},
    {"compilation = 0", false, true},
    {"compilation != 1", false, true},
};

// The times of the bare song are not known: 1970.
const Row kTimes[] = {
    {"time_added after 2026-11-18", true, false},
    {"time_added after 2026-11-19", false, false},
    {"time_added before 2026-11-18", false, true},
    {"time_added before 2026-11-19", true, true},
    {"time_added not before 2026-11-18", true, false},
    {"time_added not after 2026-11-18", false, true},
    {"time_added after 3 days ago", true, false},
    {"time_added after 2 days ago", false, false},
    {"time_added after this week", true, false},
    {"time_added after yesterday", false, false},
    {"time_added before today", true, true},
    {"time_added after this month and time_added after this year", true, false},
    {"time_added before last month", false, true},
    {"time_modified after last year", true, false},
    {"time_modified after this year", false, false},
    {"time_modified before 1 year ago", true, true},
    {"time_modified after 2 months before 1 year ago", true, false},
};

const Row kConnections[] = {
    {"year = 1999 and rating = 80", true, false},
    {"year = 1999 and rating = 0", false, false},
    {"year = 1999 or rating = 0", true, true},
    {"not year = 1999 or not rating = 80", false, true},
    {"not (year = 1999 or year = 0)", false, false},
    {"not not year = 0", false, true},
    {"year = 0 or year = 1999 and rating = 0", false, true},
    {"(year = 0 or year = 1999) and rating = 80", true, false},
};

TEST_F(EvaluationTest, TextsAreComparedWithoutCaseAndPercentIsPlain) { Check(kTexts); }
TEST_F(EvaluationTest, ATextThatIsNotKnownCountsAsEmpty) { Check(kUnknownTexts); }
TEST_F(EvaluationTest, EveryNumberIsComparedByEveryOperator) { Check(kNumbers); }
TEST_F(EvaluationTest, TimesAreComparedWithTheBeginningOfADay) { Check(kTimes); }
TEST_F(EvaluationTest, ConnectionsHold) { Check(kConnections); }

class OrderTest : public EvaluationTest {
protected:
  void SetUp() override {
    setenv("TZ", "UTC", 1);
    tzset();
    std::vector<index::Song> songs;
    for (const char *title : {"beta", "Alpha", "älter", "gamma", "Beta"}) {
      index::Song song;
      song.title = title;
      song.year = static_cast<int>(songs.size() * 7 % 5);
      song.path = "/" + std::to_string(songs.size() + 1);
      songs.push_back(song);
    }
    index_->WriteSongs(songs, {});
  }
};

TEST_F(OrderTest, WithoutAnOrderSongsComeAsTheyWereAdded) {
  EXPECT_EQ(Paths("year >= 0"), (std::vector<std::string>{"/1", "/2", "/3", "/4", "/5"}));
}

TEST_F(OrderTest, TextsAreOrderedWithoutCaseAndEqualOnesStayInOrder) {
  EXPECT_EQ(Paths("year >= 0 order by title"),
            (std::vector<std::string>{"/2", "/1", "/5", "/4", "/3"}));
  EXPECT_EQ(Paths("year >= 0 order by title desc"),
            (std::vector<std::string>{"/3", "/4", "/1", "/5", "/2"}));
}

TEST_F(OrderTest, NumbersAreOrderedAndLimited) {
  EXPECT_EQ(Paths("year >= 0 order by year asc limit 2"), (std::vector<std::string>{"/1", "/4"}));
  EXPECT_EQ(Paths("year >= 0 order by year desc limit 2"), (std::vector<std::string>{"/3", "/5"}));
}

TEST_F(OrderTest, EveryFieldCanOrder) {
  for (const FieldWord &field : kFields) {
    EXPECT_EQ(Paths("year >= 0 order by " + std::string(field.word)).size(), 5U) << field.word;
  }
}

TEST_F(OrderTest, RandomGivesEverySongOnceAndEverySongAChance) {
  std::set<std::string> drawn;
  for (int i = 0; i < 200; ++i) {
    const std::vector<std::string> paths = Paths("year >= 0 order by random limit 2");
    ASSERT_EQ(paths.size(), 2U);
    EXPECT_NE(paths[0], paths[1]);
    drawn.insert(paths.begin(), paths.end());
  }
  EXPECT_EQ(drawn.size(), 5U);
}

class OwnersTest : public EvaluationTest {
protected:
  void SetUp() override {
    std::vector<index::Song> songs(3);
    for (int owner = 0; owner < 3; ++owner) {
      songs[static_cast<std::size_t>(owner)].owner = owner;
      songs[static_cast<std::size_t>(owner)].path = "/of" + std::to_string(owner);
    }
    index_->WriteSongs(songs, {});
  }
};

TEST_F(OwnersTest, SharedRulesSeeSharedSongs) {
  EXPECT_EQ(Paths("year = 0"), (std::vector<std::string>{"/of0"}));
}

TEST_F(OwnersTest, OwnRulesSeeTheOwnAndTheSharedSongs) {
  EXPECT_EQ(Paths("year = 0 order by path", 1, true), (std::vector<std::string>{"/of0", "/of1"}));
}

std::string Repeated(const std::string &text, int count) {
  std::string whole;
  for (int i = 0; i < count; ++i) {
    whole += text;
  }
  return whole;
}

TEST_F(EvaluationTest, RulesAsDeepAsTheyMayBeAreAnswered) {
  EXPECT_EQ(
      Paths(Repeated("(year = 1 and rating = 2 or ", 100) + "year = 1999" + Repeated(")", 100)),
      (std::vector<std::string>{"/library/full.flac"}));
  EXPECT_EQ(
      Paths(Repeated("(year = 1999 and (rating = 3 or ", 50) + "year = 1999" + Repeated("))", 50)),
      (std::vector<std::string>{"/library/full.flac"}));
  EXPECT_EQ(Paths(Repeated("not ", 100) + "year = 1999"),
            (std::vector<std::string>{"/library/full.flac"}));
  EXPECT_EQ(Paths(Repeated("(", 100) + "year = 1999" + Repeated(" and rating = 80)", 100)),
            (std::vector<std::string>{"/library/full.flac"}));
}

TEST_F(EvaluationTest, RulesWithAsManyConditionsAsTheyMayHaveAreAnswered) {
  EXPECT_EQ(Paths(Repeated("title is \"x\" or ", 9999) + "year = 1999"),
            (std::vector<std::string>{"/library/full.flac"}));
  EXPECT_EQ(Paths(Repeated("rating = 80 and ", 9999) + "year = 1999"),
            (std::vector<std::string>{"/library/full.flac"}));
}

} // namespace
} // namespace vexo::smart
