#include "accounts/ownership.h"

#include <cerrno>
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

} // namespace vexo::accounts
