#include "playlists/positions.h"
#include <algorithm>
#include <charconv>
#include <stdexcept>
#include <string>

namespace vexo::playlists {

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

} // namespace vexo::playlists
