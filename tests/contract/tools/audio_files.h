#pragma once
// Songs for tests: FLAC files that hold tags and no sound.

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace vexo::tools {

using FlacTags = std::vector<std::pair<std::string, std::string>>;

inline std::string BigEndian(uint64_t value, int bytes) {
  std::string text;
  for (int shift = 8 * (bytes - 1); shift >= 0; shift -= 8) {
    text += static_cast<char>(value >> shift & 0xff);
  }
  return text;
}

inline std::string LittleEndian32(std::size_t value) {
  const std::string big = BigEndian(value, 4);
  return {big.rbegin(), big.rend()};
}

inline std::string FlacBlock(int type, bool last, const std::string &content) {
  return BigEndian(static_cast<uint64_t>(type | (last ? 0x80 : 0)), 1) +
         BigEndian(content.size(), 3) + content;
}

/// A FLAC file (RFC 9639) of so many seconds of 44,100 Hz in two channels of 16 bits.
inline std::string Flac(const FlacTags &tags, uint64_t seconds = 3) {
  constexpr uint64_t kRate = 44'100;
  const uint64_t format = kRate << 44 | uint64_t{2 - 1} << 41 | uint64_t{16 - 1} << 36;
  const std::string info = BigEndian(4096, 2) + BigEndian(4096, 2) + BigEndian(0, 6) +
                           BigEndian(format | kRate * seconds, 8) + std::string(16, '\0');
  std::string comments = LittleEndian32(0) + LittleEndian32(tags.size());
  for (const auto &[name, value] : tags) {
    comments += LittleEndian32(name.size() + 1 + value.size()) + name + "=" + value;
  }
  return "fLaC" + FlacBlock(0, false, info) + FlacBlock(4, true, comments);
}

/// One that is called by its title.
inline std::string FlacTitled(const std::string &title, uint64_t seconds = 3) {
  return Flac({{"TITLE", title}}, seconds);
}

} // namespace vexo::tools
