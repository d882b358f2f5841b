#include "media/kept_covers.h"

#include "files/file_io.h"
#include "files/folder.h"
#include "files/temporary_file.h"
#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <system_error>
#include <utility>
#include <vector>

namespace vexo::media {
namespace {

using files::FileDescriptor;

constexpr std::size_t kHashDigits = 32, kShardDigits = 2, kShards = 256;

std::string ShardOf(const std::string &folder, const CoverName &name) {
  return folder + "/" + name.hash.substr(0, kShardDigits);
}

std::string FileNameOf(const CoverName &name, int size) {
  return std::to_string(name.owner) + "-" + name.hash + "-" + std::to_string(size) + ".jpg";
}

/// Made by whoever keeps the first one in it.
FileDescriptor OpenShard(const std::string &path) {
  constexpr int kFlags = O_RDONLY | O_DIRECTORY | O_CLOEXEC;
  FileDescriptor shard(open(path.c_str(), kFlags));
  if (!shard && errno == ENOENT) {
    files::MakeFolders(path);
    shard = FileDescriptor(open(path.c_str(), kFlags));
  }
  return shard;
}

struct KeptFile {
  std::string path;
  struct timespec changed;
  uint64_t bytes;
};

bool IsOlder(const KeptFile &a, const KeptFile &b) {
  return std::pair(a.changed.tv_sec, a.changed.tv_nsec) <
         std::pair(b.changed.tv_sec, b.changed.tv_nsec);
}

std::vector<KeptFile> FilesIn(const std::string &shard) {
  std::vector<KeptFile> files;
  std::error_code ended;
  for (std::filesystem::directory_iterator entry(shard, ended), end; !ended && entry != end;
       entry.increment(ended)) {
    struct stat status {};
    if (lstat(entry->path().c_str(), &status) == 0 && S_ISREG(status.st_mode)) {
      files.push_back({entry->path(), status.st_mtim, static_cast<uint64_t>(status.st_size)});
    }
  }
  return files;
}

/// Each shard has its share of the bytes; hashes are even, and so are they.
void RemoveOldest(const std::string &shard, uint64_t most_bytes) {
  std::vector<KeptFile> files = FilesIn(shard);
  std::sort(files.begin(), files.end(), IsOlder);
  uint64_t bytes = 0;
  for (const KeptFile &file : files) {
    bytes += file.bytes;
  }
  // The newest stays, however small the share is.
  for (std::size_t i = 0; i + kCoverSizes.size() < files.size() && bytes > most_bytes; ++i) {
    unlink(files[i].path.c_str());
    bytes -= files[i].bytes;
  }
}

/// Readers see all of it or nothing. A crash may lose it, which costs the making of another.
bool WriteWhole(const FileDescriptor &shard, const std::string &name, std::string_view bytes) {
  constexpr mode_t kMode = 0600;
  const std::string temporary = files::NewTemporaryName();
  const FileDescriptor file(
      openat(shard.get(), temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, kMode));
  if (!file) {
    return false;
  }
  if (!files::WriteAll(file.get(), bytes) ||
      renameat(shard.get(), temporary.c_str(), shard.get(), name.c_str()) != 0) {
    const int why = errno;
    unlinkat(shard.get(), temporary.c_str(), 0);
    errno = why;
    return false;
  }
  return true;
}

} // namespace

bool IsCoverHash(std::string_view text) {
  return text.size() == kHashDigits &&
         text.find_first_not_of("0123456789abcdef") == std::string_view::npos;
}

FileDescriptor OpenCover(const std::string &folder, const CoverName &name, int size) {
  const std::string path = ShardOf(folder, name) + "/" + FileNameOf(name, size);
  return FileDescriptor(open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC));
}

bool KeepCover(const std::string &folder, const CoverName &name, int size, std::string_view jpeg,
               uint64_t most_bytes) {
  const std::string path = ShardOf(folder, name);
  const FileDescriptor shard = OpenShard(path);
  if (!shard || !WriteWhole(shard, FileNameOf(name, size), jpeg)) {
    return false;
  }
  RemoveOldest(path, most_bytes / kShards);
  return true;
}

} // namespace vexo::media
