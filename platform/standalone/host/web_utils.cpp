// WebUtils of vexo/web.h.
#include "host/guard.h"
#include "text/text.h"
#include "vexo/web.h"

using vexo::host::Guarded;

namespace {

std::string KeepBlanksApart(const std::string &text) {
  std::string kept;
  kept.reserve(text.size());
  for (const char c : text) {
    if (c == ' ') {
      kept += "&nbsp;";
    } else {
      kept += c;
    }
  }
  return kept;
}

} // namespace

std::vector<std::string> WebUtils::StringExplode(const std::string &text,
                                                 const std::string &separator) {
  return Guarded(std::vector<std::string>(), [&] {
    if (separator.empty()) {
      return text.empty() ? std::vector<std::string>() : std::vector<std::string>{text};
    }
    return vexo::text::Split(text, separator);
  });
}

std::string WebUtils::EncodeHtml(const std::string &text, bool keepSpaces) {
  return Guarded(std::string(), [&] {
    std::string escaped = vexo::text::EscapeHtml(text);
    return keepSpaces ? KeepBlanksApart(escaped) : escaped;
  });
}
