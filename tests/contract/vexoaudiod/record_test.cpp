// The records of the control socket.
#include "system/player_commands.h"
#include "vexoaudiod/record.h"
#include <cstdint>
#include <cstring>
#include <gtest/gtest.h>

namespace vexo::audiod {
namespace {

std::string RecordWithRubbish(int32_t code, const std::string &argument) {
  std::string record(system::kPlayerRecordSize, '\xee'); // what follows the text means nothing
  memcpy(record.data(), &code, sizeof code);
  record.replace(sizeof code, argument.size() + 1, argument.c_str(), argument.size() + 1);
  return record;
}

TEST(RecordTest, Command21SelectsAPlayer) {
  for (const int player : {0, 1, -1, 2147483647, -2147483647 - 1}) {
    const Command command = ParseRecord(RecordWithRubbish(21, std::to_string(player)));
    ASSERT_TRUE(std::holds_alternative<SelectPlayer>(command)) << player;
    EXPECT_EQ(std::get<SelectPlayer>(command).player, player);
  }
}

TEST(RecordTest, Command30AsksForAPartOfTheQueue) {
  const Command command = ParseRecord(RecordWithRubbish(30, "10 5"));
  ASSERT_TRUE(std::holds_alternative<GetQueue>(command));
  EXPECT_EQ(std::get<GetQueue>(command).player, std::nullopt);
  EXPECT_EQ(std::get<GetQueue>(command).offset, 10U);
  EXPECT_EQ(std::get<GetQueue>(command).limit, 5U);
}

TEST(RecordTest, OurOwnCommandsNameTheirPlayer) {
  const Command queue = ParseRecord(RecordWithRubbish(1002, "-1 10 5"));
  EXPECT_EQ(std::get<GetQueue>(queue).player, -1);
  EXPECT_EQ(std::get<GetQueue>(queue).offset, 10U);
  EXPECT_EQ(std::get<GetQueue>(queue).limit, 5U);
  struct Row {
    int32_t code;
    const char *argument;
    Control control;
    unsigned value;
    unsigned second = 0;
  };
  for (const Row &row :
       {Row{1001, "2", Control::kStatus, 0}, Row{1003, "2 7", Control::kPlay, 7},
        Row{1004, "2", Control::kResume, 0}, Row{1005, "2", Control::kPause, 0},
        Row{1006, "2", Control::kStop, 0}, Row{1007, "2", Control::kNext, 0},
        Row{1008, "2", Control::kPrevious, 0}, Row{1009, "2 61500", Control::kSeek, 61500},
        Row{1010, "2 40", Control::kVolume, 40}, Row{1014, "2 1", Control::kRepeat, 1},
        Row{1015, "2 0", Control::kRandom, 0}, Row{1016, "2 3 4", Control::kRemove, 3, 4},
        Row{1017, "2 3 1", Control::kMove, 3, 1}}) {
    const Command command = ParseRecord(RecordWithRubbish(row.code, row.argument));
    ASSERT_TRUE(std::holds_alternative<ControlPlayer>(command)) << row.code;
    EXPECT_EQ(std::get<ControlPlayer>(command).player, 2) << row.code;
    EXPECT_EQ(std::get<ControlPlayer>(command).control, row.control) << row.code;
    EXPECT_EQ(std::get<ControlPlayer>(command).value, row.value) << row.code;
    EXPECT_EQ(std::get<ControlPlayer>(command).second, row.second) << row.code;
  }
  const auto replacing = std::get<LoadSongs>(ParseRecord(RecordWithRubbish(1011, "0 5")));
  EXPECT_EQ(replacing.place, Place::kReplace);
  EXPECT_EQ(replacing.begin, 5U);
  for (const auto &[code, place] : {std::pair{1012, Place::kAppend}, {1013, Place::kNext}}) {
    EXPECT_EQ(std::get<LoadSongs>(ParseRecord(RecordWithRubbish(code, "0"))).place, place);
  }
}

struct RefusedRow {
  const char *description;
  std::string record;
  const char *reason;
};

TEST(RecordTest, WhatIsNoCommandIsRefusedWithItsReason) {
  const char *no_player = "the argument is no player number";
  const char *no_page = "the argument is not an offset and a limit";
  std::string endless = RecordWithRubbish(21, "");
  endless.replace(4, std::string::npos, 8192, '1');
  const RefusedRow rows[] = {
      {"nothing", "", "the record is too short"},
      {"a code alone", RecordWithRubbish(21, "1").substr(0, 4), "the record is too short"},
      {"all but the last byte", RecordWithRubbish(21, "1").substr(0, 8195),
       "the record is too short"},
      {"another command", RecordWithRubbish(7, ""), "command 7 is not supported"},
      {"a negative code", RecordWithRubbish(-30, "0 5"), "command -30 is not supported"},
      {"a code in the other byte order", RecordWithRubbish(0x15000000, "1"),
       "command 352321536 is not supported"},
      {"no end", endless, "the argument has no end"},
      {"no player", RecordWithRubbish(21, ""), no_player},
      {"a player that is no number", RecordWithRubbish(21, "usb"), no_player},
      {"a player and more", RecordWithRubbish(21, "1 2"), no_player},
      {"a player behind a blank", RecordWithRubbish(21, " 1"), no_player},
      {"a player too large", RecordWithRubbish(21, "2147483648"), no_player},
      {"no limit", RecordWithRubbish(30, "5"), no_page},
      {"an empty limit", RecordWithRubbish(30, "5 "), no_page},
      {"a negative offset", RecordWithRubbish(30, "-5 5"), no_page},
      {"a negative limit", RecordWithRubbish(30, "0 -1"), no_page},
      {"three numbers", RecordWithRubbish(30, "0 5 5"), no_page},
      {"two blanks", RecordWithRubbish(30, "0  5"), no_page},
      {"an offset too large", RecordWithRubbish(30, "99999999999 5"), no_page},
      {"a fraction", RecordWithRubbish(30, "0 5.5"), no_page},
      {"no player to pause", RecordWithRubbish(1005, ""), no_player},
      {"a volume without a player", RecordWithRubbish(1010, "40"),
       "the argument is not a player and percent"},
      {"a move to nowhere", RecordWithRubbish(1017, "0 1"),
       "the argument is not a player and two positions"},
      {"songs to remove before the queue", RecordWithRubbish(1016, "0 -1 1"),
       "the argument is not a player, a position and a number of songs"},
      {"a replacement without a beginning", RecordWithRubbish(1011, "0"),
       "the argument is not a player and a position"},
      {"a repetition of unknown kind", RecordWithRubbish(1014, "0 yes"),
       "the argument is not a player and a switch"},
      {"a negative time", RecordWithRubbish(1009, "0 -1"),
       "the argument is not a player and milliseconds"},
      {"a page without a player", RecordWithRubbish(1002, "0 5"),
       "the argument is not a player, an offset and a limit"},
  };
  for (const RefusedRow &row : rows) {
    const Command command = ParseRecord(row.record);
    ASSERT_TRUE(std::holds_alternative<Refusal>(command)) << row.description;
    EXPECT_EQ(std::get<Refusal>(command).reason, row.reason) << row.description;
  }
}

} // namespace
} // namespace vexo::audiod
