#include "web/send_headers.h"

#include "text/text.h"
#include "text/utf8.h"
#include <algorithm>

namespace vexo::web {
namespace {

bool IsControl(char c) { return (c & 0xE0) == 0 || c == 0x7F; }

/// What may stand unescaped in an extended value, beside letters and digits: attr-char of RFC 8187,
/// 3.2.1.
constexpr std::string_view kPlainInExtendedValue = "!#$&+-.^_`|~";

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

} // namespace

std::string DispositionHeader(std::string_view disposition, std::string_view file_name) {
  std::string name = text::ToValidUtf8(std::string(file_name));
  std::replace_if(name.begin(), name.end(), IsControl, '_');
  return "Content-Disposition: " + std::string(disposition) + "; filename=\"" + AsciiName(name) +
         "\"; filename*=UTF-8''" + text::PercentEncode(name, kPlainInExtendedValue) + "\n";
}

std::string AttachmentHeader(std::string_view file_name) {
  return DispositionHeader("attachment", file_name);
}

std::string TypeAndEnd(std::string_view content_type) {
  std::string type(content_type);
  std::replace_if(type.begin(), type.end(), IsControl, '_');
  return "Content-Type: " + type + "\nX-Content-Type-Options: nosniff\nCache-Control: no-store\n\n";
}

} // namespace vexo::web
