#include "web/login.h"

#include "web/header_value.h"
#include "web/request.h"
#include "web/session.h"
#include <cerrno>
#include <cstdlib>
#include <string>
#include <system_error>

namespace vexo::web {

std::optional<Login> LoginOfRequest() {
  const std::string user(Variable("REMOTE_USER").value_or(""));
  if (!user.empty()) {
    return Login{accounts::FindAccount(user)};
  }
  std::optional<SessionOfAccount> found = FindSessionOfRequest();
  if (!found) {
    return std::nullopt;
  }
  if (setenv("REMOTE_USER", found->account.name.c_str(), 1) != 0) {
    throw std::system_error(errno, std::generic_category(), "REMOTE_USER");
  }
  return Login{std::move(found->account), true};
}

const char *Challenge() {
  const std::string_view mode = Variable("HTTP_SEC_FETCH_MODE").value_or("navigate");
  return EqualsIgnoringCase(mode, "navigate") ? "WWW-Authenticate: Basic realm=\"playlists\"\r\n"
                                              : "WWW-Authenticate: Session realm=\"playlists\"\r\n";
}

} // namespace vexo::web
