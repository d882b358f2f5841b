#include "playlists/playlist_text.h"
#include "playlists/line_reader.h"
#include "text/utf8.h"
#include <algorithm>
#include <strings.h>

namespace vexo::playlists {

namespace {

constexpr std::string_view kLittleEndianMark = "\xFF\xFE";
constexpr std::string_view kBigEndianMark = "\xFE\xFF";

/// The code units of UTF-16, one after the other.
class Utf16Units {
public:
  Utf16Units(std::string_view bytes, bool is_big_endian)
      : bytes_(bytes), is_big_endian_(is_big_endian) {}

  [[nodiscard]] bool IsAtEnd() const { return bytes_.empty(); }

  char32_t Next() {
    if (bytes_.size() < 2) {
      throw UnreadableError("UTF-16 that ends inside of a character");
    }
    const char32_t first = static_cast<unsigned char>(bytes_[0]);
    const char32_t second = static_cast<unsigned char>(bytes_[1]);
    bytes_.remove_prefix(2);
    return is_big_endian_ ? first << 8U | second : second << 8U | first;
  }

private:
  std::string_view bytes_;
  bool is_big_endian_;
};

bool IsHighSurrogate(char32_t unit) { return unit >= 0xD800 && unit < 0xDC00; }
bool IsLowSurrogate(char32_t unit) { return unit >= 0xDC00 && unit < 0xE000; }

char32_t NextCharacter(Utf16Units &units) {
  const char32_t high = units.Next();
  if (!IsHighSurrogate(high) && !IsLowSurrogate(high)) {
    return high;
  }
  const char32_t low = IsHighSurrogate(high) ? units.Next() : 0;
  if (!IsLowSurrogate(low)) {
    throw UnreadableError("UTF-16 with half of a character");
  }
  return 0x10000 + ((high - 0xD800) << 10) + (low - 0xDC00);
}

/// Where a carriage return stands that no line feed follows; npos: nowhere. One at the very end is
/// none, as readers drop it anyway.
std::size_t FindLoneReturn(std::string_view text, std::size_t position = 0) {
  while ((position = text.find('\r', position)) < text.size() - 1) {
    if (text[position + 1] != '\n') {
      return position;
    }
    ++position;
  }
  return std::string_view::npos;
}

} // namespace

bool HasUtf16Mark(std::string_view bytes) {
  return bytes.starts_with(kBigEndianMark) || bytes.starts_with(kLittleEndianMark);
}

std::optional<std::string> FromUtf16(std::string_view bytes) {
  if (!HasUtf16Mark(bytes)) {
    return std::nullopt;
  }
  Utf16Units units(bytes.substr(kBigEndianMark.size()), bytes.starts_with(kBigEndianMark));
  std::string utf8;
  utf8.reserve(bytes.size());
  while (!units.IsAtEnd()) {
    text::AppendUtf8(utf8, NextCharacter(units));
  }
  return utf8;
}

std::optional<std::string> WithLineFeeds(std::string_view text, const IsFileName &is_file_name) {
  if (text.empty() || FindLoneReturn(text) == std::string_view::npos) {
    return std::nullopt;
  }
  std::string changed(text);
  LineReader lines(text);
  while (const auto line = lines.Next()) {
    const std::string_view whole = text.substr(line->begin, line->end - line->begin);
    std::size_t lone = FindLoneReturn(whole);
    if (lone == std::string_view::npos || is_file_name(line->text)) {
      continue;
    }
    for (; lone != std::string_view::npos; lone = FindLoneReturn(whole, lone + 1)) {
      changed[line->begin + lone] = '\n';
    }
  }
  return changed;
}

bool IsTooLongForPath(std::string_view text) {
  constexpr std::string_view kFileAddress = "file://localhost";
  constexpr std::string_view kProtection = "./";
  if (text.size() <= kMaxPathBytes) {
    return false;
  }
  if (strncasecmp(text.data(), "file:", std::min<std::size_t>(text.size(), 5)) == 0) {
    return text.size() > kFileAddress.size() + 3 * kMaxPathBytes;
  }
  return text.size() > kMaxPathBytes + (text.starts_with(kProtection) ? kProtection.size() : 0);
}

bool RequireText(std::string_view text) {
  constexpr std::size_t kBlock = std::size_t{64} << 10;
  bool has_returns = false;
  for (; !text.empty(); text.remove_prefix(std::min(text.size(), kBlock))) {
    const std::string_view block = text.substr(0, kBlock);
    if (block.find('\0') != std::string_view::npos) {
      throw UnreadableError("not a text: it holds NUL bytes");
    }
    has_returns = has_returns || block.find('\r') != std::string_view::npos;
  }
  return has_returns;
}

void RequireRoom(std::size_t entries) {
  if (entries > kMaxEntries) {
    throw UnreadableError("more than " + std::to_string(kMaxEntries) + " entries");
  }
}

} // namespace vexo::playlists
