#include "accounts/song_file.h"

#include "accounts/libraries.h"
#include "system/log.h"
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <system_error>

namespace vexo::accounts {
namespace {

using files::FileDescriptor;

[[noreturn]] void Fail(const std::string &path) {
  throw std::system_error(errno, std::generic_category(), "cannot read " + path);
}

/// Whether the error of a look-up says that there is no such file: any other may hide one that is
/// there. No file has a name that is too long; addresses of streams do.
bool IsGone(int error) { return error == ENOENT || error == ENOTDIR || error == ENAMETOOLONG; }

bool IsRegularFile(const FileDescriptor &file, const std::string &path) {
  struct stat status {};
  if (fstat(file.get(), &status) != 0) {
    Fail(path);
  }
  return S_ISREG(status.st_mode);
}

} // namespace

FileDescriptor OpenSendableSong(const std::string &path, std::string_view user,
                                const char *purpose) {
  // Opening a device or a pipe for reading can already do something: this does not.
  const FileDescriptor found(open(path.c_str(), O_PATH | O_CLOEXEC));
  if (!found && !IsGone(errno)) {
    Fail(path);
  }
  if (!found) {
    return FileDescriptor();
  }
  const std::string link = "/proc/self/fd/" + std::to_string(found.get());
  if (!IsRegularFile(found, path) || !SendableSongFile(link, user)) {
    system::LogFailure(purpose, ("not a song of the user's libraries: " + path).c_str());
    errno = EACCES;
    return FileDescriptor();
  }
  FileDescriptor file(open(link.c_str(), O_RDONLY | O_CLOEXEC));
  if (!file) {
    Fail(path);
  }
  return file;
}

} // namespace vexo::accounts
