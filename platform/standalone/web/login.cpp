#include "web/login.h"

#include "web/request.h"

namespace vexo::web {

std::optional<accounts::Account> LoginAccount() {
  const std::optional<std::string_view> user = Variable("REMOTE_USER");
  return user ? accounts::FindAccount(*user) : std::nullopt;
}

} // namespace vexo::web
