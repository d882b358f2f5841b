#include "accounts/song_file.h"

#include "accounts/libraries.h"
#include "system/log.h"
#include <fcntl.h>
#include <sys/stat.h>

namespace vexo::accounts {
namespace {

using files::FileDescriptor;

bool IsRegularFile(const FileDescriptor &file) {
  struct stat status {};
  return fstat(file.get(), &status) == 0 && S_ISREG(status.st_mode);
}

} // namespace

FileDescriptor OpenSendableSong(const std::string &path, std::string_view user,
                                const char *purpose) {
  // Opening a device or a pipe for reading can already do something: this does not.
  const FileDescriptor found(open(path.c_str(), O_PATH | O_CLOEXEC));
  if (!found) {
    return FileDescriptor();
  }
  const std::string link = "/proc/self/fd/" + std::to_string(found.get());
  if (!IsRegularFile(found) || !SendableSongFile(link, user)) {
    system::LogFailure(purpose, ("not a song of the user's libraries: " + path).c_str());
    return FileDescriptor();
  }
  return FileDescriptor(open(link.c_str(), O_RDONLY | O_CLOEXEC));
}

} // namespace vexo::accounts
