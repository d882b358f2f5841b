#include "system/boundary.h"

#include "system/admin_log.h"
#include <cstring>
#include <syslog.h>

namespace vexo::system {

void LogFailure(const char *operation, const char *cause) noexcept {
  try {
    syslog(LOG_ERR, "%s: %s", operation, EscapeLogText(cause).c_str());
  } catch (const std::exception &) {
    syslog(LOG_ERR, "%s: failed", operation);
  }
}

bool CopyOut(const char *text, char *buffer, int size) noexcept {
  const std::size_t length = std::strlen(text);
  if (size <= 0 || length >= static_cast<std::size_t>(size)) {
    return false;
  }
  std::memcpy(buffer, text, length + 1);
  return true;
}

} // namespace vexo::system
