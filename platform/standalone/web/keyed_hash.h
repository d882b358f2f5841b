#pragma once
// What only who has the server's key can compute (HMAC-SHA256, RFC 2104).

#include "web/session_key.h"
#include <array>
#include <cstdint>
#include <string_view>

namespace vexo::web {

using KeyedHash = std::array<uint8_t, 32>;

/// The hash of `text`; another one for each purpose, so that none can be had by asking for another.
KeyedHash HashWithKey(const SessionKey &key, std::string_view purpose, std::string_view text);

} // namespace vexo::web
