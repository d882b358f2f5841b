#include "model/node_id.h"

#include <gtest/gtest.h>
#include <limits>
#include <string>

namespace {

TEST(IdTail, IsTheTextBehindTheLastSeparator) {
  const struct {
    const char *description;
    const char *text;
    int mode;
    const char *tail;
  } rows[] = {
      {"behind the last slash", "a/b/c", 2, "c"},
      {"behind the last at sign", "a@b@c", 1, "c"},
      {"no slash", "abc", 2, "abc"},
      {"no at sign", "a/b", 1, "a/b"},
      {"a slash with nothing behind it", "abc/", 2, "abc/"},
      {"a slash with nothing behind the last one", "a/b/", 2, "a/b/"},
      {"an at sign with nothing behind it", "abc@", 1, "abc@"},
      {"an at sign does not count for slashes", "playing@7", 2, "playing@7"},
      {"a slash in front", "/abc", 2, "abc"},
      {"an unknown mode", "a/b@c", 0, "a/b@c"},
      {"another unknown mode", "a/b@c", 3, "a/b@c"},
      {"an empty text", "", 2, ""},
  };
  for (const auto &row : rows) {
    EXPECT_STREQ(IdTail(row.text, row.mode), row.tail) << row.description;
  }
}

TEST(IdTail, PointsIntoTheText) {
  const char *text = "a/b";
  EXPECT_EQ(IdTail(text, 2), text + 2);
  EXPECT_EQ(IdTail(text, 1), text);
}

TEST(NumericTail, IsTheNumberThatTheTailBeginsWith) {
  const struct {
    const char *description;
    const char *id;
    int number;
  } rows[] = {
      {"a number", "musiclib_music_shared/playlist/12", 12},
      {"leading digits", "musiclib_music_shared/playlist/12abc", 12},
      {"a word", "musiclib_music_shared/playlist/abc", 0},
      {"no slash", "34", 34},
      {"an empty tail", "7/", 7},
      {"negative", "a/-5", -5},
      {"nothing", "", 0},
  };
  for (const auto &row : rows) {
    EXPECT_EQ(NumericTail(row.id), row.number) << row.description;
  }
}

TEST(NumericTail, OfANumberThatDoesNotFitIsTheNearestThatDoes) {
  EXPECT_EQ(NumericTail("a/4294967308"), std::numeric_limits<int>::max());
  EXPECT_EQ(NumericTail("a/-4294967308"), std::numeric_limits<int>::min());
  EXPECT_EQ(NumericTail("a/99999999999999999999999999"), std::numeric_limits<int>::max());
}

TEST(NodeId, IsPersonalByItsFirst23CharactersOnly) {
  const struct {
    const char *description;
    const char *id;
    bool personal;
  } rows[] = {
      {"a personal id", "musiclib_music_personal/playlist/5", true},
      {"a further letter", "musiclib_music_personalX/playlist/5", true},
      {"the prefix alone", "musiclib_music_personal", true},
      {"one letter short", "musiclib_music_persona/playlist/5", false},
      {"a shared id", "musiclib_music_shared/playlist/5", false},
      {"capitals", "Musiclib_music_personal/playlist/5", false},
      {"anything", "x", false},
      {"nothing", "", false},
  };
  for (const auto &row : rows) {
    EXPECT_EQ(IsPersonalId(row.id), row.personal) << row.description;
  }
}

TEST(NodeId, IsSmartByTheFiveLettersBehindTheFirstSlash) {
  const struct {
    const char *description;
    const char *id;
    bool smart;
  } rows[] = {
      {"a smart id", "musiclib_music_shared/smart/Loud", true},
      {"a longer word", "musiclib_music_shared/smartlist/7", true},
      {"an odd library", "x/smart/Loud", true},
      {"a normal id", "musiclib_music_shared/playlist/7", false},
      {"only behind the second slash", "musiclib_music_shared/playlist/smart", false},
      {"four letters", "a/smar", false},
      {"no slash", "smart", false},
      {"nothing behind the slash", "a/", false},
  };
  for (const auto &row : rows) {
    EXPECT_EQ(IsSmartId(row.id), row.smart) << row.description;
  }
}

} // namespace
