#include "api/resources.h"
#include "api/router.h"
#include <array>

namespace vexo::api {

std::span<const Route> Routes() {
  static constexpr std::array kRoutes = {
      Route{"GET", "/", Overview},
  };
  return kRoutes;
}

} // namespace vexo::api
