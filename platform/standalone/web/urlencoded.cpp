#include "web/parameters.h"

#include <algorithm>
#include <cstring>

namespace vexo::web {
namespace {

int HexDigit(char c) {
  if (c >= '0' && c <= '9') {
    return c - '0';
  }
  const char lower = static_cast<char>(c | 0x20);
  return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

/// The byte that the escape at `text` stands for, or -1 when it is none.
int EscapedByte(const char *text, const char *end) {
  if (*text != '%' || end - text < 3) {
    return -1;
  }
  const int high = HexDigit(text[1]);
  const int low = HexDigit(text[2]);
  return high < 0 || low < 0 ? -1 : high * 16 + low;
}

/// Decodes [begin, end) into its own place and terminates it; `*end` may be overwritten.
std::string_view DecodeInPlace(char *begin, char *end) {
  char *out = begin;
  for (const char *in = begin; in < end; ++in) {
    const int byte = EscapedByte(in, end);
    if (byte >= 0) {
      *out++ = static_cast<char>(byte);
      in += 2;
    } else {
      *out++ = *in == '+' ? ' ' : *in;
    }
  }
  *out = '\0';
  return {begin, static_cast<std::size_t>(out - begin)};
}

Parameter DecodePair(char *begin, char *end) {
  char *const equals = std::find(begin, end, '=');
  char *const value = equals == end ? end : equals + 1;
  const std::string_view decoded_value = DecodeInPlace(value, end);
  return {DecodeInPlace(begin, equals), decoded_value};
}

bool HasParentComponent(std::string_view path) {
  for (std::size_t at = path.find(".."); at != std::string_view::npos;
       at = path.find("..", at + 1)) {
    const bool begins = at == 0 || path[at - 1] == '/';
    const bool ends = at + 2 == path.size() || path[at + 2] == '/';
    if (begins && ends) {
      return true;
    }
  }
  return false;
}

bool IsHarmlessName(std::string_view name) {
  return !name.empty() && name.back() != '/' && !HasParentComponent(name);
}

} // namespace

Buffer::Buffer(std::string_view content) : Buffer(content.size()) {
  std::copy(content.begin(), content.end(), begin());
}

bool DecodeUrlEncoded(const Buffer &buffer, std::vector<Parameter> &parameters) {
  char *begin = buffer.begin();
  while (begin < buffer.end()) {
    char *const end = std::find(begin, buffer.end(), '&');
    if (end > begin) {
      if (parameters.size() == kMostParameters) {
        return false;
      }
      parameters.push_back(DecodePair(begin, end));
    }
    begin = end + 1;
  }
  return true;
}

bool AreHarmless(const std::vector<Parameter> &parameters) {
  return std::none_of(parameters.begin(), parameters.end(), [](const Parameter &parameter) {
    return parameter.name.find('\0') != std::string_view::npos ||
           parameter.value.find('\0') != std::string_view::npos ||
           (parameter.name == "name" && !IsHarmlessName(parameter.value));
  });
}

} // namespace vexo::web
