#include "web/header_value.h"

#include "text/text.h"
#include <algorithm>

namespace vexo::web {
namespace {

char LowerAscii(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c; }

std::string LowerTrimmed(std::string_view text) {
  std::string lower(text::Trim(text));
  std::transform(lower.begin(), lower.end(), lower.begin(), LowerAscii);
  return lower;
}

void SkipBlanks(std::string_view &text) {
  text.remove_prefix(std::min(text.find_first_not_of(" \t"), text.size()));
}

/// Takes a quoted string, the cursor behind its opening quote.
std::optional<std::string> TakeQuoted(std::string_view &text) {
  std::string value;
  while (!text.empty() && text.front() != '"') {
    if (text.front() == '\\' && text.size() > 1) {
      text.remove_prefix(1);
    }
    value += text.front();
    text.remove_prefix(1);
  }
  if (text.empty()) {
    return std::nullopt;
  }
  text.remove_prefix(1);
  return value;
}

std::string TakeUntilSemicolon(std::string_view &text) {
  const std::string_view token = text.substr(0, text.find(';'));
  text.remove_prefix(token.size());
  return std::string(text::Trim(token));
}

std::optional<std::string> TakeValue(std::string_view &text) {
  SkipBlanks(text);
  if (!text.starts_with('"')) {
    return TakeUntilSemicolon(text);
  }
  text.remove_prefix(1);
  return TakeQuoted(text);
}

} // namespace

const std::string *HeaderValue::Attribute(std::string_view name) const {
  const auto found = std::find_if(attributes.begin(), attributes.end(),
                                  [&](const auto &attribute) { return attribute.first == name; });
  return found == attributes.end() ? nullptr : &found->second;
}

std::optional<HeaderValue> ParseHeaderValue(std::string_view field) {
  HeaderValue header;
  header.text = LowerTrimmed(TakeUntilSemicolon(field));
  while (field.starts_with(';')) {
    field.remove_prefix(1);
    SkipBlanks(field);
    if (field.empty() || field.front() == ';') {
      continue;
    }
    const std::size_t equals = field.find('=');
    if (equals == std::string_view::npos) {
      return std::nullopt;
    }
    std::string name = LowerTrimmed(field.substr(0, equals));
    field.remove_prefix(equals + 1);
    std::optional<std::string> value = TakeValue(field);
    if (!value) {
      return std::nullopt;
    }
    header.attributes.emplace_back(std::move(name), std::move(*value));
    SkipBlanks(field);
  }
  if (!field.empty()) {
    return std::nullopt;
  }
  return header;
}

bool EqualsIgnoringCase(std::string_view left, std::string_view right) {
  return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                    [](char a, char b) { return LowerAscii(a) == LowerAscii(b); });
}

} // namespace vexo::web
