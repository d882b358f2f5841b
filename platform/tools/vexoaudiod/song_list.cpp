#include "vexoaudiod/song_list.h"
#include <cerrno>
#include <fcntl.h>
#include <stdexcept>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace vexo::audiod {

namespace {

constexpr int kSeals = F_SEAL_WRITE | F_SEAL_SHRINK | F_SEAL_GROW;

std::string ReadWhole(int file) {
  struct stat facts {};
  if (file < 0 || fstat(file, &facts) != 0 || (fcntl(file, F_GET_SEALS) & kSeals) != kSeals ||
      fcntl(file, F_GET_SEALS) < 0) {
    throw std::runtime_error("no sealed memory file came with the songs");
  }
  const auto size = static_cast<std::size_t>(facts.st_size);
  if (size > kMostSongBytes) {
    throw std::runtime_error("the songs' names are too long");
  }
  std::string text(size, '\0');
  if (pread(file, text.data(), size, 0) != facts.st_size) {
    throw std::system_error(errno, std::generic_category(), "the songs cannot be read");
  }
  return text;
}

} // namespace

std::vector<std::string> ReadSongs(const files::FileDescriptor &file) {
  const std::string text = ReadWhole(file.get());
  std::vector<std::string> songs;
  for (std::size_t begin = 0; begin < text.size();) {
    const std::size_t end = std::min(text.find('\n', begin), text.size());
    if (end > begin) {
      songs.push_back(text.substr(begin, end - begin));
    }
    begin = end + 1;
  }
  if (songs.size() > kMostSongs) {
    throw std::runtime_error("too many songs");
  }
  return songs;
}

} // namespace vexo::audiod
