#include "media/x_sendfile.h"

#include "text/text.h"
#include "text/utf8.h"
#include "web/request.h"
#include <algorithm>

namespace vexo::media {

namespace {

bool IsControl(char c) { return (c & 0xE0) == 0 || c == 0x7F; }

} // namespace

std::optional<std::string> XSendfileHeader(std::string_view path) {
  if (web::Variable("VEXO_X_SENDFILE") != "on" || !text::IsUtf8(path) ||
      std::any_of(path.begin(), path.end(), IsControl)) {
    return std::nullopt;
  }
  return "X-Sendfile: " + text::PercentEncode(path, "/-_.") + "\r\n";
}

} // namespace vexo::media
