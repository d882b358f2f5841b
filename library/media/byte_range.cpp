#include "media/byte_range.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <optional>

namespace vexo::media {
namespace {

using Kind = ByteRange::Kind;

constexpr std::string_view kBlanks = " \t";
constexpr uint64_t kLargest = std::numeric_limits<uint64_t>::max();

std::string_view TrimBlanks(std::string_view text) {
  text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
  return text.substr(0, text.find_last_not_of(kBlanks) + 1);
}

bool IsDigits(std::string_view text) {
  return !text.empty() && text.find_first_not_of("0123456789") == std::string_view::npos;
}

/// A number that is larger than any file is as good as the largest one.
uint64_t Number(std::string_view digits) {
  uint64_t number = 0;
  const auto read = std::from_chars(digits.data(), digits.data() + digits.size(), number);
  return read.ec == std::errc() ? number : kLargest;
}

/// What stands behind "bytes=", the unit in any letter case; nothing for another unit.
std::optional<std::string_view> RangeSet(std::string_view field) {
  constexpr std::string_view kUnit = "bytes";
  const std::size_t equals = field.find('=');
  const std::string_view unit = TrimBlanks(field.substr(0, equals));
  const auto is_letter = [](char a, char b) { return a == b || a == b - 'a' + 'A'; };
  if (equals == std::string_view::npos ||
      !std::equal(unit.begin(), unit.end(), kUnit.begin(), kUnit.end(), is_letter)) {
    return std::nullopt;
  }
  return TrimBlanks(field.substr(equals + 1));
}

ByteRange Suffix(uint64_t length, uint64_t file_size) {
  if (length == 0 || file_size == 0) {
    return {Kind::kUnsatisfiable, 0, 0};
  }
  length = std::min(length, file_size);
  return {Kind::kPart, file_size - length, length};
}

ByteRange From(uint64_t first, uint64_t last, uint64_t file_size) {
  if (first >= file_size) {
    return {Kind::kUnsatisfiable, 0, 0};
  }
  return {Kind::kPart, first, std::min(last, file_size - 1) - first + 1};
}

} // namespace

ByteRange ParseRange(std::string_view field, uint64_t file_size) {
  if (field.empty()) {
    return {Kind::kWhole, 0, file_size};
  }
  const ByteRange ignored{Kind::kIgnored, 0, file_size};
  const std::optional<std::string_view> set = RangeSet(field);
  const std::size_t dash = set ? set->find('-') : std::string_view::npos;
  if (dash == std::string_view::npos) {
    return ignored;
  }
  const std::string_view first = set->substr(0, dash), last = set->substr(dash + 1);
  if (first.empty() && IsDigits(last)) {
    return Suffix(Number(last), file_size);
  }
  if (!IsDigits(first) || !(last.empty() || IsDigits(last))) {
    return ignored;
  }
  const uint64_t end = last.empty() ? kLargest : Number(last);
  return end < Number(first) ? ignored : From(Number(first), end, file_size);
}

std::string ContentRange(const ByteRange &range, uint64_t file_size) {
  const std::string size = "/" + std::to_string(file_size) + "\r\n";
  switch (range.kind) {
  case Kind::kPart:
    return "Content-Range: bytes " + std::to_string(range.first) + "-" +
           std::to_string(range.first + range.size - 1) + size;
  case Kind::kUnsatisfiable:
    return "Content-Range: bytes *" + size;
  default:
    return {};
  }
}

} // namespace vexo::media
