#include "zip/archive_names.h"

#include "accounts/song_file.h"
#include "files/file_descriptor.h"
#include "zip/stored_zip.h"
#include <fcntl.h>
#include <istream>
#include <optional>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>
#include <unordered_set>

namespace vexo::zip {
namespace {

using files::FileDescriptor;

std::optional<struct stat> RegularFile(const FileDescriptor &file) {
  struct stat status {};
  if (!file || fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode)) {
    return std::nullopt;
  }
  return status;
}

/// The playlists of the request itself, which lie in the current folder and nowhere else.
FileDescriptor OpenOwnPlaylist(const std::string &name) {
  FileDescriptor file(open(name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  const std::optional<struct stat> status = RegularFile(file);
  return status && status->st_uid == geteuid() ? std::move(file) : FileDescriptor();
}

FileDescriptor OpenGuarded(const std::string &name, const std::string &user) {
  const bool own = name == "playlist.m3u" || name == "playlist.m3u8";
  return own ? OpenOwnPlaylist(name) : accounts::OpenSendableSong(name, user, "zip");
}

/// The name in the archive: relative; empty for one that would unpack outside its folder.
std::string_view EntryName(std::string_view name) {
  while (name.starts_with('/') || name.starts_with("./")) {
    name.remove_prefix(1);
  }
  const std::string inside = "/" + std::string(name) + "/";
  const bool leads_out = inside.find("/../") != std::string::npos;
  return leads_out || name.find('\0') != std::string_view::npos ? std::string_view() : name;
}

void AddFile(StoredZip &archive, std::string_view entry, const FileDescriptor &file) {
  const std::optional<struct stat> status = RegularFile(file);
  if (!status) {
    return;
  }
  // Advice only: a file that cannot be read ahead is read all the same.
  static_cast<void>(posix_fadvise(file.get(), 0, 0, POSIX_FADV_SEQUENTIAL));
  archive.Add(entry, file.get(), static_cast<uint64_t>(status->st_size), status->st_mtime);
}

} // namespace

void ArchiveNames(std::istream &names, int output, const std::string &user) {
  StoredZip archive(output);
  std::unordered_set<std::string> added;
  for (std::string name; std::getline(names, name);) {
    const std::string entry(EntryName(name));
    if (!entry.empty() && added.insert(entry).second) {
      AddFile(archive, entry, OpenGuarded(name, user));
    }
  }
  archive.Finish();
}

} // namespace vexo::zip
