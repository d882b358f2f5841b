// How alike songs and entries are.
#include "catalog/candidates.h"
#include <gtest/gtest.h>

namespace vexo::catalog {
namespace {

index::Song SomeSong() {
  index::Song song;
  song.path = "/music/Åke/Album/03 Grüße.flac";
  song.title = "Grüße";
  song.artist = "Åke";
  song.duration_seconds = 100;
  return song;
}

TEST(Likeness, IsOfWhatIsInCommon) {
  struct Row {
    WantedSong wanted;
    Likeness likeness; ///< without its score
  };
  const Row rows[] = {
      {{"/x/03 grusse.flac", "", "", 0}, {.file_name = true, .extension = true, .title = true}},
      {{"D:\\AKE\\album\\03 Grüße.mp3", "", "", 0},
       {.file_name = true, .folders = 2, .title = true}},
      {{"/x/Album/03 Grüße.mp3", "Other", "", 0}, {.file_name = true, .folders = 1}},
      {{"/x/a.mp3", "GRUSSE", "ake", 101}, {.title = true, .artist = true, .duration = true}},
      {{"/x/a.mp3", "Grüße", "", 103}, {.title = true}},
      {{"/x/12 - Åke - Grüße.mp3", "", "", 0}, {.title = true}},
      {{"/Åke/Album/04 Other.flac", "", "", 100}, {.duration = true}},
      {{"", "", "", 0}, {}},
  };
  for (const Row &row : rows) {
    Likeness likeness = Compare(row.wanted, SomeSong());
    likeness.score = 0;
    EXPECT_EQ(likeness, row.likeness) << row.wanted.path << " " << row.wanted.title;
  }
}

TEST(Likeness, OfOneThingAloneIsNotLikely) {
  EXPECT_LT(Compare({"/x/03 Grüße.mp3", "Other", "", 0}, SomeSong()).score, kLikelyScore);
  EXPECT_LT(Compare({"/x/a.mp3", "Grüße", "", 0}, SomeSong()).score, kLikelyScore);
  EXPECT_LT(Compare({"/x/a.mp3", "Grüße", "Other", 0}, SomeSong()).score, kLikelyScore);
}

TEST(Likeness, OfTwoThingsIsLikely) {
  EXPECT_GE(Compare({"/x/Album/03 Grüße.mp3", "Other", "", 0}, SomeSong()).score, kLikelyScore);
  EXPECT_GE(Compare({"/x/a.mp3", "Grüße", "Åke", 0}, SomeSong()).score, kLikelyScore);
  EXPECT_GE(Compare({"/x/03 Grüße.mp3", "Grüße", "", 0}, SomeSong()).score, kLikelyScore);
}

TEST(Likeness, OfAnotherLengthIsNot) {
  EXPECT_LT(Compare({"/x/a.mp3", "Grüße", "Åke", 240}, SomeSong()).score, kLikelyScore);
  EXPECT_GT(Compare({"/x/03 Grüße.mp3", "x", "", 101}, SomeSong()).score,
            Compare({"/x/03 Grüße.mp3", "x", "", 110}, SomeSong()).score);
  EXPECT_LE(Compare({SomeSong().path, "Grüße", "Åke", 100}, SomeSong()).score, 1);
}

} // namespace
} // namespace vexo::catalog
