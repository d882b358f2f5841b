#include "accounts/ownership.h"

#include "files/file_descriptor.h"
#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace vexo::accounts {

void InheritOwner(const std::string &path) {
  if (geteuid() != 0) {
    return;
  }
  struct stat above {};
  if (stat(std::filesystem::path(path).parent_path().c_str(), &above) != 0 ||
      lchown(path.c_str(), above.st_uid, above.st_gid) != 0) {
    throw std::system_error(errno, std::generic_category(), path);
  }
}

void MakeFileIfMissing(const std::string &path) {
  constexpr int kFlags = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
  if (const files::FileDescriptor made(open(path.c_str(), kFlags, 0644)); made) {
    InheritOwner(path);
  }
}

} // namespace vexo::accounts
