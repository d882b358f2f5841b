#include "text/utf8.h"

#include <cstring>

namespace vexo::text {
namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

std::size_t LengthByFirstByte(unsigned char first) {
  if (first < 0x80) {
    return 1;
  }
  if (first < 0xC2 || first > 0xF4) {
    return 0;
  }
  return first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
}

bool IsScalarOfLength(char32_t code_point, std::size_t length) {
  switch (length) {
  case 3:
    return code_point >= 0x800 && (code_point < 0xD800 || code_point > 0xDFFF);
  case 4:
    return code_point >= 0x10000 && code_point <= 0x10FFFF;
  default:
    return true;
  }
}

/// The number of ASCII bytes that `text` begins with, in steps of eight.
std::size_t AsciiPrefix(std::string_view text) {
  std::size_t length = 0;
  for (; length + sizeof(uint64_t) <= text.size(); length += sizeof(uint64_t)) {
    uint64_t bytes = 0;
    std::memcpy(&bytes, text.data() + length, sizeof bytes);
    if ((bytes & 0x8080808080808080U) != 0) {
      break;
    }
  }
  return length;
}

/// Where the first byte stands that is not UTF-8; the size of `bytes` when all are.
std::size_t ValidPrefix(std::string_view bytes) {
  std::size_t position = 0;
  while (position < bytes.size()) {
    const std::size_t ascii = AsciiPrefix(bytes.substr(position));
    position += ascii;
    if (position == bytes.size()) {
      break;
    }
    const std::size_t length = DecodeUtf8(bytes.substr(position)).length_bytes;
    if (length == 0) {
      break;
    }
    position += length;
  }
  return position;
}

} // namespace

Utf8Character DecodeUtf8(std::string_view text) {
  const auto first = static_cast<unsigned char>(text.front());
  const std::size_t length = LengthByFirstByte(first);
  if (length <= 1) {
    return {first, length};
  }
  if (text.size() < length) {
    return {};
  }
  char32_t code_point = first & (0x7FU >> length);
  for (const char c : text.substr(1, length - 1)) {
    const auto byte = static_cast<unsigned char>(c);
    if ((byte & 0xC0U) != 0x80U) {
      return {};
    }
    code_point = code_point << 6U | (byte & 0x3FU);
  }
  return IsScalarOfLength(code_point, length) ? Utf8Character{code_point, length} : Utf8Character{};
}

void AppendUtf8(std::string &text, char32_t code_point) {
  const auto continuation = [&](unsigned shift) {
    text += static_cast<char>(0x80U | (code_point >> shift & 0x3FU));
  };
  if (code_point < 0x80) {
    text += static_cast<char>(code_point);
  } else if (code_point < 0x800) {
    text += static_cast<char>(0xC0U | code_point >> 6U);
    continuation(0);
  } else if (code_point < 0x10000) {
    text += static_cast<char>(0xE0U | code_point >> 12U);
    continuation(6);
    continuation(0);
  } else {
    text += static_cast<char>(0xF0U | code_point >> 18U);
    continuation(12);
    continuation(6);
    continuation(0);
  }
}

bool IsUtf8(std::string_view bytes) { return ValidPrefix(bytes) == bytes.size(); }

std::string ToValidUtf8(std::string bytes) {
  std::size_t valid = ValidPrefix(bytes);
  if (valid == bytes.size()) {
    return bytes;
  }
  std::string repaired;
  std::string_view rest = bytes;
  while (valid < rest.size()) {
    repaired.append(rest.substr(0, valid)).append(kReplacement);
    rest.remove_prefix(valid + 1);
    valid = ValidPrefix(rest);
  }
  return repaired.append(rest);
}

} // namespace vexo::text
