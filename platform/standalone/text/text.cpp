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
