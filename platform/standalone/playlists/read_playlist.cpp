#include "playlists/read_playlist.h"
#include "files/file_descriptor.h"
#include "files/file_io.h"
#include "files/folder.h"
#include "playlists/playlist_folders.h"
#include "playlists/playlist_text.h"
#include "system/log.h"
#include "system/paths.h"
#include <array>
#include <cerrno>
#include <climits>
#include <fcntl.h>
#include <stdexcept>
#include <sys/stat.h>
#include <unistd.h>

namespace vexo::playlists {

namespace {

using files::FileDescriptor;

constexpr std::size_t kMaxTemporaryBytes = std::size_t{64} << 20;

[[noreturn]] void Refuse(const std::string &path, const char *why) {
  throw UnreadableError("not read: " + path + " is " + why);
}

/// Whether errno says that nothing stands at a path: a name that is too long is no file's.
bool IsNoFile(int error) { return error == ENOENT || error == ENOTDIR || error == ENAMETOOLONG; }

/// Opens a path, and tells the log when nothing stands there.
FileDescriptor Open(const std::string &path, int flags) {
  FileDescriptor file(open(path.c_str(), flags | O_CLOEXEC));
  if (!file && !IsNoFile(errno)) {
    files::ThrowErrno("cannot open", path);
  }
  if (!file) {
    system::LogFailure("playlist file", ("there is no " + path).c_str());
  }
  return file;
}

struct stat RequireFile(const FileDescriptor &file, const std::string &path) {
  struct stat status {};
  if (fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode)) {
    Refuse(path, "no file");
  }
  return status;
}

std::string LinkToOpenFile(const FileDescriptor &file) {
  return "/proc/self/fd/" + std::to_string(file.get());
}

/// The real path of the folder that an open file lies in; empty when it cannot be told.
std::string FolderOfOpenFile(const FileDescriptor &file) {
  std::array<char, PATH_MAX> target{};
  const ssize_t length = readlink(LinkToOpenFile(file).c_str(), target.data(), target.size());
  if (length <= 0 || static_cast<std::size_t>(length) == target.size()) {
    return "";
  }
  const std::string path(target.data(), static_cast<std::size_t>(length));
  return path.substr(0, path.rfind('/'));
}

} // namespace

std::optional<std::string> ReadPlaylist(const std::string &path) {
  // Opening a device or a pipe for reading can already do something: this does not.
  const FileDescriptor found = Open(path, O_PATH);
  if (!found) {
    return std::nullopt;
  }
  RequireFile(found, path);
  if (!IsInPlaylistsFolder(FolderOfOpenFile(found))) {
    Refuse(path, "not in a playlists folder");
  }
  const FileDescriptor file(open(LinkToOpenFile(found).c_str(), O_RDONLY | O_CLOEXEC));
  if (!file) {
    files::ThrowErrno("cannot open", path);
  }
  return files::ReadWholeFile(file.get());
}

std::optional<std::string> ReadTemporaryPlaylist(const std::string &path) {
  RequireInFolder(system::kTemporary, path);
  const FileDescriptor file = Open(path, O_RDONLY | O_NOFOLLOW | O_NONBLOCK);
  if (!file) {
    return std::nullopt;
  }
  const struct stat status = RequireFile(file, path);
  if (status.st_uid != geteuid() || status.st_nlink > 1) {
    Refuse(path, "perhaps somebody else's");
  }
  return files::ReadWholeFile(file.get(), kMaxTemporaryBytes);
}

} // namespace vexo::playlists
