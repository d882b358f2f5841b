#pragma once
// The key that signs sessions: 32 random bytes in kSessionKey, which only the server's user may
// read. Without the file all sessions have ended; machines that share a collection share it.

#include <array>
#include <optional>

namespace vexo::web {

using SessionKey = std::array<unsigned char, 32>;

/// Nothing when there is no key yet. Throws std::system_error when it cannot be read, and
/// std::runtime_error when the file is no key.
std::optional<SessionKey> FindSessionKey();

/// The key, made now when there is none. However many processes make it at once, all get the same.
SessionKey MakeSessionKey();

} // namespace vexo::web
