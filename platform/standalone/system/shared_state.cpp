#include "system/shared_state.h"

#include "system/config.h"
#include "system/paths.h"

namespace vexo::system {

bool IsServerUrl(std::string_view url) {
  return url.starts_with("postgresql://") || url.starts_with("postgres://");
}

std::string SharedStatePath(const std::string &name) {
  return IsServerUrl(Setting("index", "url").value_or("")) ? kPreferences + ("/." + name)
                                                           : kState + ("/" + name);
}

} // namespace vexo::system
