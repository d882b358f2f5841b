#pragma once
// Who sent the request.

#include "accounts/accounts.h"
#include <optional>

namespace vexo::web {

/// The account of the user whom the web server has authenticated; nothing without one. Throws
/// std::runtime_error when the accounts cannot be read.
std::optional<accounts::Account> LoginAccount();

} // namespace vexo::web
