#include "system/boundary.h"

#include <cstring>
#include <syslog.h>

namespace vexo::system {

void LogFailure(const char *operation, const char *cause) noexcept {
  syslog(LOG_ERR, "%s: %s", operation, cause);
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
