#include "files/file_identity.h"
#include <fcntl.h>

namespace vexo::files {

FileIdentity IdentityOf(const struct statx &facts) {
  constexpr int64_t kSecond = 1'000'000'000;
  const bool has_birth = (facts.stx_mask & STATX_BTIME) != 0;
  const struct statx_timestamp &time = has_birth ? facts.stx_btime : facts.stx_mtime;
  return {facts.stx_ino, time.tv_sec * kSecond + time.tv_nsec};
}

FileIdentity IdentityOf(const std::string &path) {
  struct statx facts {};
  if (statx(AT_FDCWD, path.c_str(), AT_SYMLINK_NOFOLLOW, kIdentityMask, &facts) != 0) {
    return {};
  }
  return IdentityOf(facts);
}

} // namespace vexo::files
