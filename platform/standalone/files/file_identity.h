#pragma once
#include <cstdint>
#include <string>
#include <sys/stat.h>

namespace vexo::files {

/// Tells a file from all others of its file system. A rename keeps it; a copy has another one, and
/// so has a file that another program puts in its place.
struct FileIdentity {
  uint64_t inode = 0; ///< 0: not known
  /// When the inode was made, as its number is used again once the file is gone; where the file
  /// system does not tell, when the file was last written. Nanoseconds since 1970.
  int64_t born_ns = 0;

  friend bool operator==(const FileIdentity &, const FileIdentity &) = default;
};

/// What statx() must be asked for.
inline constexpr unsigned kIdentityMask = STATX_INO | STATX_BTIME | STATX_MTIME;

FileIdentity IdentityOf(const struct statx &status);

/// That of what stands at `path` (a link itself); not known when nothing does.
FileIdentity IdentityOf(const std::string &path);

} // namespace vexo::files
