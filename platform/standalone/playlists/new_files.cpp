#include "playlists/new_files.h"
#include "files/durable_file.h"
#include "files/folder.h"
#include "index/records.h"
#include "playlists/changes.h"
#include "playlists/edges.h"
#include "playlists/m3u.h"
#include "services/host_paths.h"
#include <algorithm>
#include <cerrno>
#include <stdexcept>
#include <string_view>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace vexo::playlists {

namespace {

constexpr unsigned kOwnOnly = 0600;

/// The files that this process made. Their folders are kept open, so that a folder of the same path
/// made later is not taken for the same one.
class MadeFiles {
public:
  void Remember(const std::string &path) { folders_.emplace_back(path); }

  [[nodiscard]] bool Hold(const std::string &path) const {
    const files::Folder folder(path);
    return std::any_of(folders_.begin(), folders_.end(), [&](const files::Folder &made) {
      return made.name() == folder.name() && IsSame(made, folder);
    });
  }

private:
  static bool IsSame(const files::Folder &a, const files::Folder &b) {
    struct stat first {
    }, second{};
    return fstat(a.fd(), &first) == 0 && fstat(b.fd(), &second) == 0 &&
           files::IsSameFile(first, second);
  }

  std::vector<files::Folder> folders_;
};

MadeFiles &MadeHere() {
  static MadeFiles made;
  return made;
}

std::string NewContent(const VEXOPlaylistRec *songs, const std::string &path) {
  if (songs != nullptr && MadeHere().Hold(path)) {
    throw std::runtime_error("renamed or deleted meanwhile: " + path);
  }
  return std::string(kM3uHead) + M3uEntries(songs);
}

std::string ContentOf(const std::vector<index::Song> &songs) {
  std::string content(kM3uHead);
  for (const index::Song &song : songs) {
    __tag_VEXO_MEDIA_INFO record{};
    index::FillRecord(record, song);
    AppendM3uEntry(content, record);
  }
  return content;
}

/// Removes what stands at `path` when it is a link.
void RemoveLink(const std::string &path) {
  struct stat facts {};
  if (lstat(path.c_str(), &facts) == 0 && S_ISLNK(facts.st_mode) && unlink(path.c_str()) != 0) {
    files::ThrowErrno("cannot remove the link", path);
  }
}

} // namespace

void WriteSongs(const VEXOPlaylistRec *songs, const std::string &path) {
  RequireInPlaylistsFolder(path);
  const Change change = Replacing(songs);
  bool is_new = false;
  files::EditOrCreateDurably(
      path, [&](std::string_view content) { return change(content, path); },
      [&] {
        is_new = true;
        return NewContent(songs, path);
      });
  if (is_new) {
    MadeHere().Remember(path);
  }
}

void WriteTemporaryPlaylist(const std::vector<index::Song> &songs, const std::string &path) {
  RequireInFolder(services::kTemporary, path);
  RemoveLink(path);
  files::ReplaceDurably(path, ContentOf(songs), kOwnOnly);
}

} // namespace vexo::playlists
