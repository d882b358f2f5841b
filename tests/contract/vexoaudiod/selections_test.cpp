// Which process has chosen which player.
#include "vexoaudiod/selections.h"
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

namespace vexo::audiod {
namespace {

using std::chrono::seconds;

class SelectionsTest : public ::testing::Test {
protected:
  static constexpr ProcessId kOne{100, 5000};
  static constexpr ProcessId kOther{101, 5000};
  static constexpr ProcessId kOneAgain{100, 6000}; ///< the number of the first, used again

  Selections::Clock::time_point now_{std::chrono::hours(1)};
  Selections selections_;
};

TEST_F(SelectionsTest, EachProcessHasItsOwn) {
  selections_.Select(kOne, 1, now_);
  selections_.Select(kOther, -1, now_);
  EXPECT_EQ(selections_.Selected(kOne, now_), 1);
  EXPECT_EQ(selections_.Selected(kOther, now_), -1);
}

TEST_F(SelectionsTest, WhoHasChosenNothingHasNothing) {
  EXPECT_EQ(selections_.Selected(kOne, now_), std::nullopt);
}

TEST_F(SelectionsTest, TheLastChoiceHolds) {
  selections_.Select(kOne, 1, now_);
  selections_.Select(kOne, 2, now_);
  EXPECT_EQ(selections_.Selected(kOne, now_), 2);
  EXPECT_EQ(selections_.size(), 1U);
}

TEST_F(SelectionsTest, AProcessThatGotTheNumberOfAnotherHasNothing) {
  selections_.Select(kOne, 1, now_);
  EXPECT_EQ(selections_.Selected(kOneAgain, now_), std::nullopt);
  selections_.Select(kOneAgain, 3, now_);
  EXPECT_EQ(selections_.Selected(kOneAgain, now_), 3);
  EXPECT_EQ(selections_.Selected(kOne, now_), std::nullopt);
}

TEST_F(SelectionsTest, AForgottenChoiceIsNone) {
  selections_.Select(kOne, 1, now_);
  selections_.Forget(kOne);
  EXPECT_EQ(selections_.Selected(kOne, now_), std::nullopt);
}

TEST_F(SelectionsTest, WhoDoesNotAskForAMinuteIsForgotten) {
  selections_.Select(kOne, 1, now_);
  selections_.Select(kOther, 2, now_);
  EXPECT_EQ(selections_.Selected(kOne, now_ + seconds(60)), 1);
  EXPECT_EQ(selections_.Selected(kOther, now_ + seconds(61)), std::nullopt);
  EXPECT_EQ(selections_.Selected(kOne, now_ + seconds(120)), 1) << "asking keeps the choice";
  EXPECT_EQ(selections_.size(), 1U);
}

TEST_F(SelectionsTest, WhenThereAreTooManyTheLeastRecentGoes) {
  const auto most = static_cast<int>(Selections::kMost);
  for (int count = 0; count < most; ++count) {
    selections_.Select({1 + count, 1}, count, now_ + std::chrono::milliseconds(count));
  }
  const auto later = now_ + seconds(5);
  EXPECT_EQ(selections_.Selected({1, 1}, later), 0);
  selections_.Select({1 + most, 1}, 7, later);
  EXPECT_EQ(selections_.size(), Selections::kMost);
  EXPECT_EQ(selections_.Selected({1, 1}, later), 0) << "it has asked since";
  EXPECT_EQ(selections_.Selected({2, 1}, later), std::nullopt);
  EXPECT_EQ(selections_.Selected({1 + most, 1}, later), 7);
}

TEST(PeerProcessTest, IsTheProcessAtTheOtherEnd) {
  int ends[2];
  ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
  const std::optional<ProcessId> first = PeerProcess(ends[0]);
  ASSERT_TRUE(first.has_value());
  EXPECT_EQ(first->pid, getpid());
  EXPECT_GT(first->start_time, 0U);
  EXPECT_EQ(PeerProcess(ends[1])->start_time, first->start_time);
  close(ends[0]);
  close(ends[1]);
}

TEST(PeerProcessTest, IsNobodyForWhatIsNoSocket) { EXPECT_EQ(PeerProcess(-1).has_value(), false); }

} // namespace
} // namespace vexo::audiod
