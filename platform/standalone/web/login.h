#pragma once
// Whose request it is.

#include "accounts/accounts.h"
#include <optional>

namespace vexo::web {

struct Login {
  /// Nothing when the web server names a user who has no account.
  std::optional<accounts::Account> account;
  /// Whether a session's cookie says so, which a browser sends by itself, and not the web server.
  bool by_session = false;
};

/// Who the web server says it is (REMOTE_USER), and where it says nothing, whose session it is:
/// that user becomes REMOTE_USER of this process, for whom it asks and starts. Nothing when nobody
/// says. To be asked once. Throws when accounts or key cannot be read.
std::optional<Login> LoginOfRequest();

/// The header line that tells how one could say who one is (RFC 9110, 11.6.1). A browser asks for
/// name and password where it is told "Basic": so not for what a page of ours fetches by itself.
const char *Challenge();

} // namespace vexo::web
