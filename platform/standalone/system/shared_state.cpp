#include "system/shared_state.h"

#include "system/config.h"
#include "system/paths.h"

namespace vexo::system {

std::string SharedStatePath(const std::string &name) {
  const bool has_server = Setting("index", "url").value_or("").find("://") != std::string::npos;
  return has_server ? kPreferences + ("/." + name) : kState + ("/" + name);
}

} // namespace vexo::system
