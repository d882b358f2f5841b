#include "vexoaudiod/record.h"
#include <charconv>
#include <cstdint>
#include <cstring>
#include <limits>
#include <optional>

namespace vexo::audiod {

namespace {

constexpr int32_t kSelectPlayer = 21;
constexpr int32_t kGetQueue = 30;

std::optional<int> ParseNumber(std::string_view text) {
  int number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end != text.data() + text.size()) {
    return std::nullopt;
  }
  return number;
}

Command ParseSelectPlayer(std::string_view argument) {
  const std::optional<int> player = ParseNumber(argument);
  if (!player.has_value()) {
    return Refusal{"the argument is no player number"};
  }
  return SelectPlayer{*player};
}

Command ParseGetQueue(std::string_view argument) {
  const std::size_t blank = argument.find(' ');
  if (blank == std::string_view::npos) {
    return Refusal{"the argument is not an offset and a limit"};
  }
  const std::optional<int> offset = ParseNumber(argument.substr(0, blank));
  const std::optional<int> limit = ParseNumber(argument.substr(blank + 1));
  if (offset.value_or(-1) < 0 || limit.value_or(-1) < 0) {
    return Refusal{"the argument is not an offset and a limit"};
  }
  return GetQueue{static_cast<unsigned>(*offset), static_cast<unsigned>(*limit)};
}

} // namespace

Command ParseRecord(std::string_view record) {
  int32_t code = 0;
  if (record.size() != kRecordSize) {
    return Refusal{"the record is too short"};
  }
  memcpy(&code, record.data(), sizeof code);
  const std::string_view field = record.substr(sizeof code);
  const std::size_t end = field.find('\0');
  if (code != kSelectPlayer && code != kGetQueue) {
    return Refusal{"command " + std::to_string(code) + " is not supported"};
  }
  if (end == std::string_view::npos) {
    return Refusal{"the argument has no end"};
  }
  return code == kSelectPlayer ? ParseSelectPlayer(field.substr(0, end))
                               : ParseGetQueue(field.substr(0, end));
}

} // namespace vexo::audiod
