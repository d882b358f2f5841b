#include "text/numbers.h"
#include <algorithm>
#include <charconv>
#include <stdexcept>
#include <string>

namespace vexo::text {

namespace {

constexpr std::size_t kShownBytes = 40;

std::size_t ParsePosition(std::string_view text, std::size_t length) {
  std::size_t position = 0;
  const char *const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, position);
  if (error != std::errc() || stop != end || position >= length) {
    throw std::invalid_argument("no position in a list of " + std::to_string(length) + ": '" +
                                std::string(text.substr(0, kShownBytes)) + "'");
  }
  return position;
}

} // namespace

std::optional<int64_t> ParseInteger(std::string_view text) {
  int64_t number = 0;
  const char *end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number);
  if (error != std::errc() || stop != end) {
    return std::nullopt;
  }
  return number;
}

float ParseSeconds(std::string_view text) {
  constexpr double kAbsurd = 1e9;
  double seconds = 0;
  std::from_chars(text.data(), text.data() + text.size(), seconds, std::chars_format::fixed);
  return seconds > 0 && seconds < kAbsurd ? static_cast<float>(seconds) : 0.0F;
}

std::vector<std::size_t> ParsePositions(std::string_view text, std::size_t length) {
  std::vector<std::size_t> positions;
  for (std::size_t begin = 0; begin <= text.size();) {
    const std::size_t end = std::min(text.find(',', begin), text.size());
    positions.push_back(ParsePosition(text.substr(begin, end - begin), length));
    begin = end + 1;
  }
  std::sort(positions.begin(), positions.end());
  positions.erase(std::unique(positions.begin(), positions.end()), positions.end());
  return positions;
}

} // namespace vexo::text
