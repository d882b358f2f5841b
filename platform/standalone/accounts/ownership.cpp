#include "accounts/ownership.h"

#include "files/file_descriptor.h"
#include "system/paths.h"
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

void MakePlaylistsFolderIfMissing(const std::string &library) {
  constexpr mode_t kMode = 0755;
  std::error_code error;
  const std::filesystem::directory_iterator entries(library, error);
  const std::string folder = library + system::kPlaylistsFolder;
  if (!error && entries != std::filesystem::directory_iterator() &&
      mkdir(folder.c_str(), kMode) == 0) {
    InheritOwner(folder);
  }
}

} // namespace vexo::accounts
