#include "web/send_headers.h"

#include "text/utf8.h"
#include <algorithm>

namespace vexo::web {
namespace {

bool IsControl(char c) { return (c & 0xE0) == 0 || c == 0x7F; }

bool IsAsciiAlphanumeric(char c) {
  return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}

/// What may stand unescaped in an extended value: attr-char of RFC 8187, 3.2.1.
bool IsPlainInExtendedValue(char c) {
  return IsAsciiAlphanumeric(c) ||
         std::string_view("!#$&+-.^_`|~").find(c) != std::string_view::npos;
}

/// A letter beyond ASCII becomes one '_'; so does what a quoted string, or a browser that decodes
/// percent signs in it, would take for something else.
std::string AsciiName(std::string_view name) {
  std::string ascii;
  for (const char c : name) {
    const bool continues_letter = (c & 0xC0) == 0x80;
    const bool beyond_ascii = (c & 0x80) != 0;
    if (!continues_letter) {
      const bool special = IsControl(c) || c == '"' || c == '\\' || c == '%';
      ascii += beyond_ascii || special ? '_' : c;
    }
  }
  return ascii;
}

std::string ExtendedName(std::string_view name) {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  std::string extended;
  for (const char c : name) {
    if (IsPlainInExtendedValue(c)) {
      extended += c;
    } else {
      const auto byte = static_cast<unsigned char>(c);
      extended += {'%', kDigits[byte >> 4U], kDigits[byte & 0xFU]};
    }
  }
  return extended;
}

} // namespace

std::string AttachmentHeader(std::string_view file_name) {
  std::string name = text::ToValidUtf8(std::string(file_name));
  std::replace_if(name.begin(), name.end(), IsControl, '_');
  return "Content-Disposition: attachment; filename=\"" + AsciiName(name) +
         "\"; filename*=UTF-8''" + ExtendedName(name) + "\n";
}

std::string TypeAndEnd(std::string_view content_type) {
  std::string type(content_type);
  std::replace_if(type.begin(), type.end(), IsControl, '_');
  return "Content-Type: " + type + "\nX-Content-Type-Options: nosniff\nCache-Control: no-store\n\n";
}

} // namespace vexo::web
