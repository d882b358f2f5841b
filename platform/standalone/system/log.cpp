#include "system/log.h"

#include <syslog.h>

namespace vexo::system {

void LogFailure(const char *operation, const char *cause) noexcept {
  syslog(LOG_ERR, "%s: %s", operation, cause);
}

} // namespace vexo::system
