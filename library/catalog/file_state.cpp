#include "catalog/file_state.h"
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

namespace vexo::catalog {
namespace {

int64_t Nanoseconds(const statx_timestamp &time) {
  constexpr int64_t kPerSecond = 1'000'000'000;
  return time.tv_sec * kPerSecond + time.tv_nsec;
}

} // namespace

FileState StateOfFile(const std::string &path) {
  struct statx status {};
  if (statx(AT_FDCWD, path.c_str(), AT_SYMLINK_NOFOLLOW | AT_STATX_SYNC_AS_STAT, STATX_BASIC_STATS,
            &status) != 0) {
    return {};
  }
  return {.is_there = true,
          .is_link = S_ISLNK(status.stx_mode),
          .device = makedev(status.stx_dev_major, status.stx_dev_minor),
          .inode = status.stx_ino,
          .size_bytes = status.stx_size,
          .modified_ns = Nanoseconds(status.stx_mtime),
          .changed_ns = Nanoseconds(status.stx_ctime)};
}

void AppendState(std::string &text, const FileState &state) {
  for (const uint64_t number :
       {uint64_t{state.is_there}, state.device, state.inode, state.size_bytes,
        static_cast<uint64_t>(state.modified_ns), static_cast<uint64_t>(state.changed_ns)}) {
    text.append(reinterpret_cast<const char *>(&number), sizeof number);
  }
}

} // namespace vexo::catalog
