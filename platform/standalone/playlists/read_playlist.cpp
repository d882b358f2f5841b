#include "playlists/read_playlist.h"
#include "files/durable_file.h"
#include "files/file_descriptor.h"
#include "playlists/playlist_folders.h"
#include "system/log.h"
#include "system/paths.h"
#include <array>
#include <cerrno>
#include <climits>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vexo::playlists {

namespace {

using files::FileDescriptor;

constexpr std::size_t kMaxTemporaryBytes = std::size_t{64} << 20;

std::nullopt_t Refused(const std::string &path, const char *why) {
  system::LogFailure("playlist file", (path + ": " + why).c_str());
  return std::nullopt;
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
  const FileDescriptor found(open(path.c_str(), O_PATH | O_CLOEXEC));
  if (!found) {
    return Refused(path, std::strerror(errno));
  }
  struct stat status {};
  if (fstat(found.get(), &status) != 0 || !S_ISREG(status.st_mode)) {
    return Refused(path, "not a file");
  }
  if (!IsInPlaylistsFolder(FolderOfOpenFile(found))) {
    return Refused(path, "not in a playlists folder");
  }
  const FileDescriptor file(open(LinkToOpenFile(found).c_str(), O_RDONLY | O_CLOEXEC));
  if (!file) {
    return Refused(path, std::strerror(errno));
  }
  return files::ReadWholeFile(file.get());
}

std::optional<std::string> ReadTemporaryPlaylist(const std::string &path) {
  RequireInFolder(system::kTemporary, path);
  const FileDescriptor file(open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  if (!file) {
    return Refused(path, std::strerror(errno));
  }
  struct stat status {};
  if (fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode)) {
    return Refused(path, "not a file");
  }
  if (status.st_uid != geteuid() || status.st_nlink > 1) {
    return Refused(path, "may be somebody else's");
  }
  return files::ReadWholeFile(file.get(), kMaxTemporaryBytes);
}

} // namespace vexo::playlists
