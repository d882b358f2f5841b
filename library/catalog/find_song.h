#pragma once
#include "accounts/accounts.h"
#include "index/media_index.h"
#include <optional>

namespace vexo::catalog {

/// The song of that id in one of the libraries that the user sees; nothing when there is none.
std::optional<index::Song> FindSong(const accounts::Account &user, int32_t id);

} // namespace vexo::catalog
