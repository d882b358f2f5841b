#include "web/parameters.h"

#include <algorithm>
#include <cstdint>

namespace vexo::web {
namespace {

/// Takes off what `text` begins with, up to and with the first `end` behind `begin_size` bytes.
void SkipThrough(std::string_view &text, std::size_t begin_size, std::string_view end) {
  const std::size_t found = text.find(end, begin_size);
  text.remove_prefix(found == std::string_view::npos ? text.size() : found + end.size());
}

void SkipString(std::string_view &text) {
  text.remove_prefix(1);
  while (!text.empty() && text.front() != '"') {
    text.remove_prefix(text.front() == '\\' ? std::min<std::size_t>(text.size(), 2) : 1);
  }
  text.remove_prefix(std::min<std::size_t>(text.size(), 1));
}

/// Takes off a string, a comment, or one byte.
void SkipToken(std::string_view &text) {
  if (text.front() == '"') {
    SkipString(text);
  } else if (text.starts_with("/*")) {
    SkipThrough(text, 2, "*/");
  } else if (text.starts_with("//")) {
    SkipThrough(text, 2, "\n");
  } else {
    text.remove_prefix(1);
  }
}

} // namespace

std::size_t CountElements(std::string_view text) {
  std::size_t commas = 0;
  for (int64_t depth = 0; !text.empty(); SkipToken(text)) {
    const char c = text.front();
    depth += c == '[' || c == '{' ? 1 : c == ']' || c == '}' ? -1 : 0;
    commas += c == ',' && depth == 1 ? 1U : 0U;
  }
  return commas + 1;
}

} // namespace vexo::web
