#include "vexoaudiod/record.h"
#include "system/player_commands.h"
#include "text/numbers.h"
#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <optional>
#include <span>
#include <utility>
#include <vector>

namespace vexo::audiod {

namespace {

using system::PlayerCommand;

std::optional<int> ParseNumber(std::string_view digits) {
  const std::optional<int64_t> number = text::ParseInteger(digits);
  return number && std::in_range<int>(*number) ? std::optional(static_cast<int>(*number))
                                               : std::nullopt;
}

/// Numbers with a blank between; empty for a text that is not all numbers.
std::vector<int> ParseNumbers(std::string_view argument) {
  std::vector<int> numbers;
  while (!argument.empty()) {
    const std::string_view first = argument.substr(0, argument.find(' '));
    const std::optional<int> number = ParseNumber(first);
    if (!number || first.size() + 1 == argument.size()) {
      return {};
    }
    numbers.push_back(*number);
    argument.remove_prefix(std::min(first.size() + 1, argument.size()));
  }
  return numbers;
}

using Numbers = std::span<const int>;

unsigned Natural(int number) { return static_cast<unsigned>(number); }

Command SelectPlayerOf(Numbers numbers) { return SelectPlayer{numbers[0]}; }
Command GetQueueOf(Numbers numbers) {
  return GetQueue{std::nullopt, Natural(numbers[0]), Natural(numbers[1])};
}
Command GetQueueOfPlayer(Numbers numbers) {
  return GetQueue{numbers[0], Natural(numbers[1]), Natural(numbers[2])};
}
template <Control control> Command ControlOf(Numbers numbers) {
  return ControlPlayer{numbers[0], control, numbers.size() > 1 ? Natural(numbers[1]) : 0,
                       numbers.size() > 2 ? Natural(numbers[2]) : 0};
}
template <Place place> Command LoadOf(Numbers numbers) {
  return LoadSongs{numbers[0], place, numbers.size() > 1 ? Natural(numbers[1]) : 0};
}

struct Form {
  PlayerCommand code;
  std::size_t numbers; ///< in the argument; the first one, a player's, may be negative
  bool begins_with_player;
  Command (*make)(Numbers numbers);
  const char *refusal;
};

constexpr const char *kNoPlayer = "the argument is no player number";
constexpr const char *kNoPosition = "the argument is not a player and a position";
constexpr const char *kNoSwitch = "the argument is not a player and a switch";

constexpr std::array kForms = {
    Form{PlayerCommand::kSelect, 1, true, SelectPlayerOf, kNoPlayer},
    Form{PlayerCommand::kQueueOfSelected, 2, false, GetQueueOf,
         "the argument is not an offset and a limit"},
    Form{PlayerCommand::kStatus, 1, true, ControlOf<Control::kStatus>, kNoPlayer},
    Form{PlayerCommand::kQueue, 3, true, GetQueueOfPlayer,
         "the argument is not a player, an offset and a limit"},
    Form{PlayerCommand::kPlay, 2, true, ControlOf<Control::kPlay>, kNoPosition},
    Form{PlayerCommand::kResume, 1, true, ControlOf<Control::kResume>, kNoPlayer},
    Form{PlayerCommand::kPause, 1, true, ControlOf<Control::kPause>, kNoPlayer},
    Form{PlayerCommand::kStop, 1, true, ControlOf<Control::kStop>, kNoPlayer},
    Form{PlayerCommand::kNext, 1, true, ControlOf<Control::kNext>, kNoPlayer},
    Form{PlayerCommand::kPrevious, 1, true, ControlOf<Control::kPrevious>, kNoPlayer},
    Form{PlayerCommand::kSeek, 2, true, ControlOf<Control::kSeek>,
         "the argument is not a player and milliseconds"},
    Form{PlayerCommand::kVolume, 2, true, ControlOf<Control::kVolume>,
         "the argument is not a player and percent"},
    Form{PlayerCommand::kReplaceQueue, 2, true, LoadOf<Place::kReplace>, kNoPosition},
    Form{PlayerCommand::kAppendToQueue, 1, true, LoadOf<Place::kAppend>, kNoPlayer},
    Form{PlayerCommand::kPlayNext, 1, true, LoadOf<Place::kNext>, kNoPlayer},
    Form{PlayerCommand::kRepeat, 2, true, ControlOf<Control::kRepeat>, kNoSwitch},
    Form{PlayerCommand::kRandom, 2, true, ControlOf<Control::kRandom>, kNoSwitch},
    Form{PlayerCommand::kRemove, 3, true, ControlOf<Control::kRemove>,
         "the argument is not a player, a position and a number of songs"},
    Form{PlayerCommand::kMove, 3, true, ControlOf<Control::kMove>,
         "the argument is not a player and two positions"},
};

Command ParseArgument(const Form &form, std::string_view argument) {
  const std::vector<int> numbers = ParseNumbers(argument);
  const auto values = Numbers(numbers).subspan(numbers.empty() || !form.begins_with_player ? 0 : 1);
  const bool fits = numbers.size() == form.numbers &&
                    std::all_of(values.begin(), values.end(), [](int value) { return value >= 0; });
  return fits ? form.make(numbers) : Refusal{form.refusal};
}

} // namespace

Command ParseRecord(std::string_view record) {
  int32_t code = 0;
  if (record.size() != system::kPlayerRecordSize) {
    return Refusal{"the record is too short"};
  }
  memcpy(&code, record.data(), sizeof code);
  const auto *const form = std::find_if(kForms.begin(), kForms.end(), [code](const Form &known) {
    return static_cast<int32_t>(known.code) == code;
  });
  if (form == kForms.end()) {
    return Refusal{"command " + std::to_string(code) + " is not supported"};
  }
  const std::string_view field = record.substr(sizeof code);
  const std::size_t end = field.find('\0');
  if (end == std::string_view::npos) {
    return Refusal{"the argument has no end"};
  }
  return ParseArgument(*form, field.substr(0, end));
}

} // namespace vexo::audiod
