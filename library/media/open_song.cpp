#include "media/open_song.h"

#include "accounts/song_file.h"
#include <algorithm>
#include <array>
#include <climits>

namespace vexo::media {

std::optional<OpenFile> OpenInLibraries(const std::string &path, const accounts::Account &user,
                                        const char *purpose) {
  OpenFile open;
  open.file = accounts::OpenSendableSong(path, user.name, purpose);
  if (!open.file || fstat(open.file.get(), &open.status) != 0) {
    return std::nullopt;
  }
  return open;
}

std::string RealPathOf(const files::FileDescriptor &file) {
  std::array<char, PATH_MAX> path{};
  const std::string link = "/proc/self/fd/" + std::to_string(file.get());
  const ssize_t length = readlink(link.c_str(), path.data(), path.size());
  return {path.data(), static_cast<std::size_t>(std::max<ssize_t>(length, 0))};
}

} // namespace vexo::media
