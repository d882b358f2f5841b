#include "playlistctl/scan/library_walk.h"

#include "files/file_descriptor.h"
#include "text/case_folding.h"
#include "text/utf8.h"
#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <system_error>

namespace vexo::tools {
namespace {

constexpr std::array kSongExtensions = {
    "aac", "aif", "aifc", "aiff", "ape",  "dff", "dsf", "flac", "m4a", "m4b", "mp2",
    "mp3", "mpc", "oga",  "ogg",  "opus", "spx", "tta", "wav",  "wma", "wv",
};

/// Why a name cannot stand in the index, or nothing when it can.
const char *WhatIsWrong(const std::string &path, std::string_view name) {
  if (!text::IsUtf8(name)) {
    return "its name is not UTF-8";
  }
  if (name.find_first_of("\r\n") != std::string_view::npos) {
    return "its name holds a line break";
  }
  return path.size() >= PATH_MAX ? "its path is too long" : nullptr;
}

constexpr unsigned kFileMask = STATX_BASIC_STATS | files::kIdentityMask;

FoundFile FileWith(const std::string &path, const struct statx &status) {
  return {path, status.stx_size, status.stx_mtime.tv_sec, status.stx_ctime.tv_sec,
          files::IdentityOf(status)};
}

class FolderWalker {
public:
  FolderWalker(const std::function<bool(std::string_view)> &wanted, Hidden hidden, Output &output)
      : wanted_(wanted), hidden_(hidden), output_(output) {}

  Walk Run(const std::string &folder) {
    if (!ReadFolder(folder)) {
      throw std::system_error(errno, std::generic_category(), folder);
    }
    while (!folders_.empty()) {
      const std::string next = std::move(folders_.back());
      folders_.pop_back();
      if (!ReadFolder(next)) {
        GiveUp(next);
      }
    }
    const auto by_path = [](const auto &a, const auto &b) { return a.path < b.path; };
    std::sort(walk_.files.begin(), walk_.files.end(), by_path);
    return std::move(walk_);
  }

private:
  using FolderStream = std::unique_ptr<DIR, int (*)(DIR *)>;

  /// False, with errno set: the folder cannot be read.
  bool ReadFolder(const std::string &folder) {
    // Only a folder inside must not have become a link since it was found.
    const int link_flag = folders_read_++ == 0 ? 0 : O_NOFOLLOW;
    const int fd = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC | link_flag);
    const FolderStream stream(fd < 0 ? nullptr : fdopendir(fd), closedir);
    if (!stream) {
      return false;
    }
    errno = 0;
    while (const dirent *entry = readdir(stream.get())) {
      if (IsTaken(entry->d_name)) {
        Visit(fd, folder + "/" + entry->d_name, entry->d_name);
      }
      errno = 0;
    }
    return errno == 0;
  }

  [[nodiscard]] bool IsTaken(std::string_view name) const {
    return name[0] != '.' || (hidden_ == Hidden::kTake && name != "." && name != "..");
  }

  void Visit(int folder, const std::string &path, const char *name) {
    struct statx status {};
    if (statx(folder, name, AT_SYMLINK_NOFOLLOW, kFileMask, &status) != 0) {
      if (errno != ENOENT) {
        GiveUp(path);
      }
      return;
    }
    if (S_ISREG(status.stx_mode) && !wanted_(name)) {
      return;
    }
    if (const char *wrong = WhatIsWrong(path, name)) {
      Skip(path, wrong);
    } else if (S_ISDIR(status.stx_mode)) {
      folders_.push_back(path);
    } else if (S_ISREG(status.stx_mode)) {
      walk_.files.push_back(FileWith(path, status));
    } else {
      Skip(path, S_ISLNK(status.stx_mode) ? "it is a link" : "it is no regular file");
    }
  }

  void Skip(const std::string &path, const char *why) {
    output_.Line("skipped: " + Printable(path) + ": " + why);
  }

  void GiveUp(const std::string &path) {
    Skip(path, std::strerror(errno));
    walk_.unreadable.push_back(path);
  }

  const std::function<bool(std::string_view)> &wanted_;
  const Hidden hidden_;
  Output &output_;
  Walk walk_;
  std::vector<std::string> folders_;
  std::size_t folders_read_ = 0;
};

} // namespace

Walk WalkFolder(const std::string &folder, const std::function<bool(std::string_view)> &wanted,
                Hidden hidden, Output &output) {
  return FolderWalker(wanted, hidden, output).Run(folder);
}

std::optional<FoundFile> FindFile(const std::string &path) {
  struct statx status {};
  if (statx(AT_FDCWD, path.c_str(), AT_SYMLINK_NOFOLLOW, kFileMask, &status) != 0 ||
      !S_ISREG(status.stx_mode)) {
    return std::nullopt;
  }
  return FileWith(path, status);
}

bool IsSongName(std::string_view name) {
  const std::string extension = Extension(name);
  return std::find(kSongExtensions.begin(), kSongExtensions.end(), extension) !=
         kSongExtensions.end();
}

bool IsPlaylistName(std::string_view name) {
  const std::string extension = Extension(name);
  return extension == "m3u" || extension == "m3u8";
}

std::string_view FileName(std::string_view path) { return path.substr(path.rfind('/') + 1); }

std::string_view Stem(std::string_view path) {
  const std::string_view name = FileName(path);
  return name.substr(0, name.rfind('.'));
}

std::string Extension(std::string_view name) {
  const std::size_t dot = name.rfind('.');
  return dot == std::string_view::npos ? "" : text::FoldCase(name.substr(dot + 1));
}

} // namespace vexo::tools
