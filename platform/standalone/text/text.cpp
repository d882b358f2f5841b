#include "text/text.h"

namespace vexo::text {
namespace {

constexpr std::string_view kSpaces = " \t\r\n";

std::string_view HtmlEntity(char c) {
  switch (c) {
  case '&':
    return "&amp;";
  case '<':
    return "&lt;";
  case '>':
    return "&gt;";
  case '"':
    return "&quot;";
  case '\'':
    return "&#39;";
  default:
    return {};
  }
}

bool IsAsciiAlphanumeric(char c) {
  return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}

} // namespace

std::vector<std::string> Split(std::string_view text, std::string_view separator) {
  std::vector<std::string> pieces;
  while (!text.empty()) {
    const std::size_t end = text.find(separator);
    const std::string_view piece = text.substr(0, end);
    if (!piece.empty()) {
      pieces.emplace_back(piece);
    }
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + separator.size());
  }
  return pieces;
}

std::string_view Trim(std::string_view text) {
  const std::size_t begin = text.find_first_not_of(kSpaces);
  if (begin == std::string_view::npos) {
    return text.substr(0, 0);
  }
  return text.substr(begin, text.find_last_not_of(kSpaces) - begin + 1);
}

bool EqualInConstantTime(std::string_view left, std::string_view right) {
  if (left.size() != right.size()) {
    return false;
  }
  volatile unsigned difference = 0; // else the compiler might stop at the first one
  for (std::size_t i = 0; i < left.size(); ++i) {
    difference = difference | static_cast<unsigned char>(left[i] ^ right[i]);
  }
  return difference == 0;
}

std::string PercentEncode(std::string_view bytes, std::string_view plain) {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  std::string encoded;
  for (const char c : bytes) {
    if (IsAsciiAlphanumeric(c) || plain.find(c) != std::string_view::npos) {
      encoded += c;
    } else {
      const auto byte = static_cast<unsigned char>(c);
      encoded += {'%', kDigits[byte >> 4U], kDigits[byte & 0xFU]};
    }
  }
  return encoded;
}

std::string EscapeHtml(std::string_view text) {
  std::string escaped;
  escaped.reserve(text.size());
  for (const char c : text) {
    const std::string_view entity = HtmlEntity(c);
    if (entity.empty()) {
      escaped += c;
    } else {
      escaped += entity;
    }
  }
  return escaped;
}

} // namespace vexo::text
