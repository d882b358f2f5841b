#include "playlists/version.h"
#define XXH_INLINE_ALL
#include <xxhash.h>

namespace vexo::playlists {
namespace {

std::string VersionOf(XXH128_hash_t hash) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  XXH128_canonical_t canonical;
  XXH128_canonicalFromHash(&canonical, hash);
  std::string version;
  for (const unsigned char byte : canonical.digest) {
    version += {kDigits[byte >> 4U], kDigits[byte & 0xFU]};
  }
  return version;
}

} // namespace

std::string ContentVersion(std::string_view bytes) {
  return VersionOf(XXH3_128bits(bytes.data(), bytes.size()));
}

std::string ContentVersion(const files::Pieces &pieces) {
  XXH3_state_t state;
  XXH3_INITSTATE(&state);
  XXH3_128bits_reset(&state);
  for (const std::string_view piece : pieces) {
    XXH3_128bits_update(&state, piece.data(), piece.size());
  }
  return VersionOf(XXH3_128bits_digest(&state));
}

} // namespace vexo::playlists
