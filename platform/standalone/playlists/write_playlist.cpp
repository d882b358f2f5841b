#include "playlists/write_playlist.h"
#include "files/durable_file.h"
#include "files/edit_file.h"
#include "files/file_identity.h"
#include "files/folder.h"
#include "playlists/condition.h"
#include "playlists/held_versions.h"
#include "playlists/playlist_edits.h"
#include "playlists/playlist_folders.h"
#include "playlists/seen_files.h"
#include "playlists/settled_rows.h"
#include "playlists/version.h"
#include "system/log.h"
#include "system/paths.h"
#include <algorithm>
#include <cerrno>
#include <optional>
#include <stdexcept>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace vexo::playlists {

namespace {

constexpr unsigned kOwnOnly = 0600;

std::optional<Unread> unread; ///< the worst there was

bool IsEmpty(std::span<const NewEntry> songs) {
  return std::all_of(songs.begin(), songs.end(), [](auto &song) { return song.path.empty(); });
}

void RequireThatReadsSucceeded(const std::string &path) {
  if (unread) {
    throw std::runtime_error("no empty list is written after a read that failed: " + path);
  }
}

/// Puts the songs into the file, which is made when it is not there.
void WriteNow(std::span<const NewEntry> songs, const std::string &path) {
  bool is_new = false;
  files::EditOrCreateDurably(path, Versioned(Replacing(songs)), [&] {
    RequireVersion(std::nullopt);
    if (WasTakenAway(path)) {
      throw std::runtime_error("renamed or deleted meanwhile: " + path);
    }
    is_new = true;
    std::string content = std::string(kM3uHead) + M3uEntries(songs);
    NoteVersion(ContentVersion(content));
    return content;
  });
  RefreshRowsOf(path);
  if (is_new) {
    NoteNewFile(path);
  }
}

/// An empty list that is to be written, or a new empty file that is to be synced.
struct HeldBack {
  files::FileName name;
  std::string path;
  bool is_new;
  files::FileIdentity identity;
};

/// Whether the new file is at `path`, and nobody has written to it.
bool IsAsMade(const HeldBack &held, const std::string &path) {
  struct stat status {};
  return files::IdentityOf(path) == held.identity && lstat(path.c_str(), &status) == 0 &&
         status.st_size == std::ssize(kM3uHead);
}

/// Removes a new file that got neither songs nor a row: a client that tries again may have the
/// name. What somebody else wrote or put there meanwhile stays.
void TakeBack(const HeldBack &held) {
  if (held.is_new && IsAsMade(held, held.path) && ClaimNewFile(held.path)) {
    files::FileSetAside file(held.path);
    if (IsAsMade(held, file.path())) {
      file.Commit();
    }
  }
}

void Finish(const HeldBack &held) {
  if (held.is_new) {
    files::SyncIfThere(held.path);
    return;
  }
  RequireThatReadsSucceeded(held.path);
  files::EditOptions options;
  options.takes_too_large = true;
  if (!files::EditDurably(held.path, Versioned(Replacing({})), options)) {
    throw std::runtime_error("renamed or deleted meanwhile: " + held.path);
  }
  RefreshRowsOf(held.path);
}

/// What this process holds back.
class HeldBackHere {
public:
  HeldBackHere() = default;
  ~HeldBackHere() { FinishAll(); }
  HeldBackHere(const HeldBackHere &) = delete;
  HeldBackHere &operator=(const HeldBackHere &) = delete;

  void Add(const std::string &path, bool is_new) {
    const files::FileName name(path);
    if (std::none_of(all_.begin(), all_.end(), [&](auto &held) { return held.name == name; })) {
      all_.push_back({files::FileName(path), path, is_new, files::IdentityOf(path)});
    }
  }

  void Remove(const std::string &path) {
    if (!all_.empty()) {
      std::erase_if(all_, [name = files::FileName(path)](auto &held) { return held.name == name; });
    }
  }

  /// For a list whose songs cannot be read.
  void TakeBackNew(const std::string &path) {
    const files::FileName name(path);
    const auto held =
        std::find_if(all_.begin(), all_.end(), [&](auto &h) { return h.name == name; });
    if (held != all_.end()) {
      TakeBack(*held);
    }
  }

  void RemoveAll() noexcept { all_.clear(); }

  bool FinishAll() noexcept {
    bool succeeded = true;
    ReleaseRow(); // or an edit might wait for the lock that this process has
    for (const HeldBack &held : std::exchange(all_, {})) {
      try {
        Finish(held);
      } catch (const std::exception &error) {
        system::LogFailure("an empty playlist", error.what());
        succeeded = false;
      }
    }
    return succeeded;
  }

private:
  std::vector<HeldBack> all_;
};

HeldBackHere &Held() {
  static HeldBackHere held;
  return held;
}

bool IsFile(const std::string &path) {
  struct stat status {};
  return lstat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

void WriteEmptyList(const std::string &path) {
  if (unread) {
    Held().TakeBackNew(path);
  }
  RequireThatReadsSucceeded(path);
  if (!IsFile(path)) {
    RequireVersion(std::nullopt);
  }
  const bool is_new = !HasCondition() && files::CreateUnsynced(path, kM3uHead);
  if (is_new) {
    NoteNewFile(path);
    NoteVersion(ContentVersion(kM3uHead));
  } else if (!IsFile(path)) {
    WriteNow({}, path); // and fail, but for a file that came or went this moment
    return;
  }
  Held().Add(path, is_new);
}

std::string ContentOf(const std::vector<index::Song> &songs) {
  std::string content(kM3uHead);
  for (const index::Song &song : songs) {
    AppendM3uEntry(content,
                   {song.path, song.artist, song.title, static_cast<float>(song.duration_seconds)});
  }
  return content;
}

/// Removes what stands at `path` when it is a link.
void RemoveLink(const std::string &path) {
  struct stat status {};
  if (lstat(path.c_str(), &status) == 0 && S_ISLNK(status.st_mode) && unlink(path.c_str()) != 0) {
    files::ThrowErrno("cannot remove the link", path);
  }
}

} // namespace

void WriteSongs(std::span<const NewEntry> songs, const std::string &path) {
  RequireInPlaylistsFolder(path);
  if (IsEmpty(songs)) {
    WriteEmptyList(path);
    return;
  }
  Held().Remove(path);
  WriteNow(songs, path);
}

bool FinishWriting() noexcept { return Held().FinishAll(); }

void NoteUnread(Unread reason) noexcept { unread = std::max(unread, std::optional(reason)); }

bool HasReadFailed() noexcept { return unread == Unread::kFailed; }

void ForgetWriting() noexcept {
  Held().RemoveAll();
  unread.reset();
  ForgetSeenFiles();
  ForgetCondition();
  ReleaseFiles();
}

void WriteTemporaryPlaylist(const std::vector<index::Song> &songs, const std::string &path) {
  WriteTemporaryPlaylist(ContentOf(songs), path);
}

void WriteTemporaryPlaylist(std::string_view bytes, const std::string &path) {
  RequireInFolder(system::kTemporary, path);
  RemoveLink(path);
  files::ReplaceDurably(path, bytes, kOwnOnly);
}

} // namespace vexo::playlists
