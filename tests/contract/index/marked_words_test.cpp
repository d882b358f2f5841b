#include "index/words.h"

#include <algorithm>
#include <array>
#include <gmock/gmock.h>
#include <random>

namespace vexo::index {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(MarkedPieces, AreTheWordsEachOnce) {
  EXPECT_THAT(MarkedPieces("The  River the Sea"), ElementsAre("\1\1river", "\1\1sea", "\1\1the"));
  EXPECT_THAT(MarkedPieces(" "), IsEmpty());
}

TEST(MarkedPieces, GoOnWhereAWordOfAQuestionCan) {
  EXPECT_THAT(MarkedPieces("a - b"), ElementsAre("\1\1-\1\1b", "\1\1a"));
  EXPECT_THAT(MarkedPieces("東 京"), ElementsAre("\1\1東\1\1京"));
}

/// Of the characters that matter.
std::string RandomText(std::mt19937 &random, unsigned most, bool with_spaces) {
  constexpr std::array kCharacters = {"a", "b", "-", "'", "本", "の", "é", " ", " "};
  std::string text;
  for (auto count = 1 + random() % most; count > 0; --count) {
    text += kCharacters.at(random() % (kCharacters.size() - (with_spaces ? 0 : 2)));
  }
  return text;
}

TEST(MarkedPieces, HoldWhateverTheWholeTextHolds) {
  std::mt19937 random(20261122);
  int found = 0;
  for (int i = 0; i < 20'000; ++i) {
    const std::string text = RandomText(random, 12, true);
    const std::string part = MarkedWord(FoldedWords(RandomText(random, 4, false)).at(0));
    const std::vector<std::string> pieces = MarkedPieces(text);
    const bool in_whole = MarkedText(text).find(part) != std::string::npos;
    const bool in_piece = std::any_of(pieces.begin(), pieces.end(), [&](const std::string &piece) {
      return piece.find(part) != std::string::npos;
    });
    EXPECT_EQ(in_piece, in_whole) << text << ": " << part;
    found += in_whole ? 1 : 0;
  }
  EXPECT_GT(found, 1000);
}

} // namespace
} // namespace vexo::index
