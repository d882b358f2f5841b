#include "web/keyed_hash.h"

#include <nettle/hmac.h>

namespace vexo::web {

KeyedHash HashWithKey(const SessionKey &key, std::string_view purpose, std::string_view text) {
  hmac_sha256_ctx hmac;
  hmac_sha256_set_key(&hmac, key.size(), key.data());
  for (const std::string_view part : {purpose, std::string_view(":"), text}) {
    hmac_sha256_update(&hmac, part.size(), reinterpret_cast<const uint8_t *>(part.data()));
  }
  KeyedHash hash{};
  hmac_sha256_digest(&hmac, hash.size(), hash.data());
  return hash;
}

} // namespace vexo::web
