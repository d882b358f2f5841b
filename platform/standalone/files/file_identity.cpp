#include "files/file_identity.h"
#include <fcntl.h>

namespace vexo::files {

FileIdentity IdentityOf(const struct statx &status) {
  constexpr int64_t kSecond = 1'000'000'000;
  const bool has_birth = (status.stx_mask & STATX_BTIME) != 0;
  const struct statx_timestamp &time = has_birth ? status.stx_btime : status.stx_mtime;
  return {status.stx_ino, time.tv_sec * kSecond + time.tv_nsec};
}

FileIdentity IdentityOf(const std::string &path) {
  struct statx status {};
  if (statx(AT_FDCWD, path.c_str(), AT_SYMLINK_NOFOLLOW, kIdentityMask, &status) != 0) {
    return {};
  }
  return IdentityOf(status);
}

} // namespace vexo::files
