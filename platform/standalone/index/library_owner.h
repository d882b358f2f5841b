#pragma once

namespace vexo::index {

/// The owner code of the library that a caller of the host names: 0 for "shared", `user_id` for
/// "personal". Throws std::invalid_argument for any other name, and for a personal library of no
/// user.
int LibraryOwner(const char *library, int user_id);

} // namespace vexo::index
