#pragma once

#include <string_view>

namespace vexo::web {

/// Writes all of `bytes` to the client, behind what the program printed so far, and marks the
/// request as answered. False when the client or the server is gone.
bool WriteAnswer(std::string_view bytes) noexcept;

} // namespace vexo::web
