#include "zip/archive_names.h"

#include "accounts/song_file.h"
#include "files/file_descriptor.h"
#include "files/file_io.h"
#include "system/config.h"
#include "text/code_page.h"
#include "zip/stored_zip.h"
#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <istream>
#include <stdexcept>
#include <string_view>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <unordered_map>
#include <unordered_set>

namespace vexo::zip {
namespace {

using files::FileDescriptor;
using Renamed = std::unordered_map<std::string, std::string>;

constexpr char kLocalPlaylist[] = "playlist.m3u", kUtf8Playlist[] = "playlist.m3u8";

bool IsPlaylist(const std::string &name) { return name == kLocalPlaylist || name == kUtf8Playlist; }

struct stat StatusOf(const FileDescriptor &file, const std::string &name) {
  struct stat status {};
  if (fstat(file.get(), &status) != 0) {
    throw std::system_error(errno, std::generic_category(), "cannot read " + name);
  }
  return status;
}

/// A playlist of the request itself, which lies in the current folder and nowhere else. None when
/// there is none, or something of somebody else in its place.
FileDescriptor OpenOwnPlaylist(const std::string &name) {
  FileDescriptor file(open(name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  if (!file && errno != ENOENT && errno != ELOOP) {
    throw std::system_error(errno, std::generic_category(), "cannot read " + name);
  }
  if (!file) {
    return file;
  }
  const struct stat status = StatusOf(file, name);
  const bool own = S_ISREG(status.st_mode) && status.st_uid == geteuid();
  return own ? std::move(file) : FileDescriptor();
}

/// The name made relative; empty for one that would unpack outside its folder.
std::string RelativeName(std::string_view name) {
  while (name.starts_with('/') || name.starts_with("./")) {
    name.remove_prefix(1);
  }
  const std::string inside = "/" + std::string(name) + "/";
  const bool leads_out = inside.find("/../") != std::string::npos;
  return leads_out || name.find('\0') != std::string_view::npos ? "" : std::string(name);
}

/// The playlist with each song under the name that it has in the archive.
std::string WithNewNames(const std::string &playlist, const Renamed &renamed, int code_page) {
  Renamed converted;
  for (const auto &[from, to] : renamed) {
    converted[text::FromUtf8(code_page, from).value_or(from)] =
        text::FromUtf8(code_page, to).value_or(to);
  }
  std::string result;
  for (std::size_t start = 0; start < playlist.size();) {
    const std::size_t end = std::min(playlist.find('\n', start), playlist.size());
    const std::string line = playlist.substr(start, end - start);
    const auto found = converted.find(line);
    result += (found == converted.end() ? line : found->second) + "\n";
    start = end + 1;
  }
  return result;
}

/// An archive in the making, and the names in it.
class Download {
public:
  Download(int output, const std::string &user) : archive_(output), user_(user) {}

  /// Adds what the line of the list names, if it may and is there.
  void Add(const std::string &name) {
    const std::string relative = RelativeName(name);
    if (relative.empty() || !seen_.insert(relative).second) {
      return;
    }
    if (IsPlaylist(name)) {
      AddPlaylist(name);
    } else {
      AddSong(name, relative);
    }
  }

  /// A download's folder has a playlist before its list is read, and the list names it last.
  [[nodiscard]] bool IsComplete() const {
    return seen_.contains(kUtf8Playlist) || access(kUtf8Playlist, F_OK) != 0;
  }

  void Finish() { archive_.Finish(); }

private:
  void AddSong(const std::string &name, const std::string &relative) {
    const FileDescriptor file = accounts::OpenSendableSong(name, user_, "zip");
    if (!file) {
      return;
    }
    const struct stat status = StatusOf(file, name);
    const std::string entry = ChooseName(relative);
    if (entry != name) {
      renamed_[name] = entry;
    }
    // Advice only: a file that cannot be read ahead is read all the same.
    static_cast<void>(posix_fadvise(file.get(), 0, 0, POSIX_FADV_SEQUENTIAL));
    archive_.Add(entry, file.get(), static_cast<uint64_t>(status.st_size), status.st_mtime);
  }

  void AddPlaylist(const std::string &name) {
    const FileDescriptor file = OpenOwnPlaylist(name);
    if (!file) {
      return;
    }
    const struct stat status = StatusOf(file, name);
    if (renamed_.empty()) {
      archive_.Add(name, file.get(), static_cast<uint64_t>(status.st_size), status.st_mtime);
      return;
    }
    const int code_page = name == kLocalPlaylist ? system::HostCodePage() : text::kUtf8CodePage;
    const std::string content = files::ReadWholeFile(file.get());
    archive_.Add(name, WithNewNames(content, renamed_, code_page), status.st_mtime);
  }

  /// The song's name in the archive. A backslash parts folders on some systems, and a colon follows
  /// a drive, or a file before one of its streams. A name that is taken gets a number before it.
  std::string ChooseName(std::string name) {
    std::replace_if(
        name.begin(), name.end(), [](char c) { return c == '\\' || c == ':'; }, '_');
    const std::string wanted = name;
    for (int number = 0; IsPlaylist(name) || !chosen_.insert(name).second; ++number) {
      name = std::to_string(number) + "_" + wanted;
    }
    return name;
  }

  StoredZip archive_;
  const std::string &user_;
  std::unordered_set<std::string> seen_;   ///< lines of the list
  std::unordered_set<std::string> chosen_; ///< names in the archive
  Renamed renamed_; ///< from a line to the name in the archive, where they differ
};

} // namespace

void ArchiveNames(std::istream &names, int output, const std::string &user) {
  Download download(output, user);
  for (std::string name; std::getline(names, name);) {
    download.Add(name);
  }
  if (names.bad() || !download.IsComplete()) {
    throw std::runtime_error("the list of names broke off");
  }
  download.Finish();
}

} // namespace vexo::zip
