#include "playlists/version.h"
#define XXH_INLINE_ALL
#include <xxhash.h>

namespace vexo::playlists {

std::string ContentVersion(std::string_view bytes) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  XXH128_canonical_t canonical;
  XXH128_canonicalFromHash(&canonical, XXH3_128bits(bytes.data(), bytes.size()));
  std::string version;
  for (const unsigned char byte : canonical.digest) {
    version += {kDigits[byte >> 4U], kDigits[byte & 0xFU]};
  }
  return version;
}

} // namespace vexo::playlists
