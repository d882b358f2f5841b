#include "web/json_text.h"

#include <array>
#include <charconv>
#include <string_view>

namespace vexo::web {
namespace {

/// Digits that every double keeps: 0.85, and not 0.84999999999999998.
constexpr unsigned kPrecision = 15;

/// What stands behind the backslash; 0: nothing does, the character stands for itself.
char EscapeOf(char c) {
  switch (c) {
  case '"':
  case '\\':
    return c;
  case '\b':
    return 'b';
  case '\f':
    return 'f';
  case '\n':
    return 'n';
  case '\r':
    return 'r';
  case '\t':
    return 't';
  default:
    return static_cast<unsigned char>(c) < 0x20 ? 'u' : '\0';
  }
}

void AppendString(std::string &text, std::string_view value) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  text += '"';
  for (const char c : value) {
    const char escape = EscapeOf(c);
    if (escape == '\0') {
      text += c;
      continue;
    }
    text.append({'\\', escape});
    if (escape == 'u') {
      const auto byte = static_cast<unsigned char>(c);
      text.append({'0', '0', kDigits[byte >> 4U], kDigits[byte & 0xFU]});
    }
  }
  text += '"';
}

template <typename Number> void AppendNumber(std::string &text, Number number) {
  std::array<char, 24> digits{};
  const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr;
  text.append(digits.data(), end);
}

void Append(std::string &text, const Json::Value &value);

void AppendArray(std::string &text, const Json::Value &array) {
  const char *separator = "[";
  for (const Json::Value &element : array) {
    text += separator;
    Append(text, element);
    separator = ",";
  }
  text += array.empty() ? "[]" : "]";
}

void AppendObject(std::string &text, const Json::Value &object) {
  const char *separator = "{";
  for (auto member = object.begin(); member != object.end(); ++member) {
    const char *end = nullptr;
    const char *const name = member.memberName(&end);
    text += separator;
    AppendString(text, {name, end});
    text += ':';
    Append(text, *member);
    separator = ",";
  }
  text += object.empty() ? "{}" : "}";
}

void AppendText(std::string &text, const Json::Value &value) {
  const char *begin = nullptr;
  const char *end = nullptr;
  value.getString(&begin, &end);
  AppendString(text, {begin, end});
}

void Append(std::string &text, const Json::Value &value) {
  switch (value.type()) {
  case Json::nullValue:
    text += "null";
    break;
  case Json::booleanValue:
    text += value.asBool() ? "true" : "false";
    break;
  case Json::intValue:
    AppendNumber(text, value.asLargestInt());
    break;
  case Json::uintValue:
    AppendNumber(text, value.asLargestUInt());
    break;
  case Json::realValue:
    text += Json::valueToString(value.asDouble(), kPrecision);
    break;
  case Json::stringValue:
    AppendText(text, value);
    break;
  case Json::arrayValue:
    AppendArray(text, value);
    break;
  case Json::objectValue:
    AppendObject(text, value);
    break;
  }
}

} // namespace

std::string JsonText(const Json::Value &document) {
  std::string text;
  Append(text, document);
  return text;
}

} // namespace vexo::web
