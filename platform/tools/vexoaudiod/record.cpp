#include "vexoaudiod/record.h"
#include "text/numbers.h"
#include <cstdint>
#include <cstring>
#include <optional>
#include <utility>

namespace vexo::audiod {

namespace {

constexpr int32_t kSelectPlayer = 21;
constexpr int32_t kGetQueue = 30;

std::optional<int> ParseNumber(std::string_view digits) {
  const std::optional<int64_t> number = text::ParseInteger(digits);
  return number && std::in_range<int>(*number) ? std::optional(static_cast<int>(*number))
                                               : std::nullopt;
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
