#include "api/resources.h"
#include "api/router.h"
#include <array>

namespace vexo::api {

std::span<const Route> Routes() {
  static constexpr std::array kRoutes = {
      Route{"GET", "/", Overview},
      Route{"POST", "/session", LogIn, "", true},
      Route{"GET", "/session", WhoAmI},
      Route{"DELETE", "/session", LogOut, "everywhere", true},
      Route{"POST", "/password", ChangePassword},
  };
  return kRoutes;
}

} // namespace vexo::api
