#pragma once
// The libraries that a user sees: the shared one, and the user's own. Those of others do not exist.

#include "accounts/accounts.h"
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vexo::catalog {

struct Library {
  std::string_view name;             ///< "shared" or "personal"
  int owner = 0;                     ///< as the index knows it
  std::optional<std::string> folder; ///< nothing when the shared library has none now
};

/// In the order shared, personal.
std::vector<Library> LibrariesOf(const accounts::Account &user);

/// The owner code of the user's library of that name; nothing when there is none.
std::optional<int> OwnerOf(const accounts::Account &user, std::string_view library);

/// Whether the user may see what belongs to `owner`.
bool IsVisible(const accounts::Account &user, int owner);

} // namespace vexo::catalog
