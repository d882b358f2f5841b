// vexo/playlist_file.h: playlist files and edits of their songs.
#include "index/library_owner.h"
#include "playlists/changes.h"
#include "playlists/edges.h"
#include "playlists/entries.h"
#include "playlists/new_files.h"
#include "playlists/read_playlist.h"
#include "playlists/required.h"
#include "playlists/rows.h"
#include "system/boundary.h"
#include "text/text.h"
#include "vexo/playlist_file.h"
#include <functional>
#include <stdexcept>
#include <string>
#include <string_view>

using vexo::index::LibraryOwner;
using vexo::playlists::Required;
using vexo::system::Guarded;
namespace playlists = vexo::playlists;

namespace {

int32_t RequireId(const char *text) {
  const auto id = vexo::text::ParseInteger(Required(text));
  if (!id || *id <= 0 || *id > INT32_MAX) {
    throw std::invalid_argument(std::string("no id of a playlist: ") + text);
  }
  return static_cast<int32_t>(*id);
}

using MakeChange = std::function<playlists::Change()>;

/// Changes the playlist of a library.
int ChangeInLibrary(const char *operation, const char *library, int user_id, const char *id,
                    const MakeChange &make_change) {
  return Guarded(operation, -1, [&] {
    playlists::ChangeRow(LibraryOwner(library, user_id), RequireId(id), make_change());
    return 0;
  });
}

/// Changes the playlist file of a preference folder.
int ChangeInPreferences(const char *operation, const char *path, const MakeChange &make_change) {
  return Guarded(operation, -1, [&] {
    playlists::RequireInPlaylistsFolder(Required(path));
    if (!playlists::ChangeFile(path, make_change())) {
      throw std::runtime_error(std::string("there is no playlist ") + path);
    }
    return 0;
  });
}

/// Logs what went, when it went.
int Logged(const playlists::RemovedSongs &removed, int result) {
  if (result == 0) {
    playlists::LogRemovedSongs(removed);
  }
  return result;
}

} // namespace

int VEXOWriteMusicPlaylist(const VEXOPlaylistRec *songs, const char *path) {
  return Guarded("VEXOWriteMusicPlaylist", -1, [&] {
    playlists::WriteSongs(songs, Required(path));
    return 0;
  });
}

VEXOPlaylistRec *ParsePlayListByFieldGivenPath(const char *path, int *count, int offset, int limit,
                                               const char *fields, int code) {
  constexpr int kEveryField = 7;
  VEXOPlaylistRec *const failed = nullptr;
  return Guarded("ParsePlayListByFieldGivenPath", failed, [&] {
    if (std::string_view(Required(fields)) != "*" || code != kEveryField) {
      throw std::invalid_argument("no fields that are known");
    }
    const auto stretch = playlists::Stretch::Of(offset, limit);
    const auto content = playlists::ReadPlaylist(Required(path));
    if (!content) {
      return failed;
    }
    const playlists::EntryRecords records(playlists::ReadEntries(*content, path, stretch));
    VEXOPlaylistRec *const songs = records.ToList().release();
    *count = static_cast<int>(records.size());
    return songs;
  });
}

int VEXOPlaylistAppendSongs(const char *library, int userId, const char *id,
                            const VEXOPlaylistRec *songs, int count) {
  return ChangeInLibrary("VEXOPlaylistAppendSongs", library, userId, id,
                         [&] { return playlists::Appending(songs, count); });
}

int VEXOPlaylistUpdateSongs(const char *library, int userId, const char *id,
                            const VEXOPlaylistRec *songs, long start, long limit) {
  return ChangeInLibrary("VEXOPlaylistUpdateSongs", library, userId, id,
                         [&] { return playlists::Splicing(songs, start, limit); });
}

int VEXOPlaylistRemoveSongs(const char *library, int userId, const char *id,
                            const char *positions) {
  return ChangeInLibrary("VEXOPlaylistRemoveSongs", library, userId, id,
                         [&] { return playlists::Removing(positions); });
}

int VEXOPlaylistRemoveMissing(const char *library, int userId, const char *id) {
  playlists::RemovedSongs removed;
  const int result = ChangeInLibrary("VEXOPlaylistRemoveMissing", library, userId, id,
                                     [&] { return playlists::RemovingMissing(removed); });
  return Logged(removed, result);
}

int VEXOPersonalPlaylistAppendSongs(const char *path, const VEXOPlaylistRec *songs, int count) {
  return ChangeInPreferences("VEXOPersonalPlaylistAppendSongs", path,
                             [&] { return playlists::Appending(songs, count); });
}

int VEXOPersonalPlaylistUpdateSongs(const char *path, const VEXOPlaylistRec *songs, long start,
                                    long limit) {
  return ChangeInPreferences("VEXOPersonalPlaylistUpdateSongs", path,
                             [&] { return playlists::Splicing(songs, start, limit); });
}

int VEXOPersonalPlaylistRemoveSongs(const char *path, const char *positions) {
  return ChangeInPreferences("VEXOPersonalPlaylistRemoveSongs", path,
                             [&] { return playlists::Removing(positions); });
}

int VEXOPersonalPlaylistRemoveMissing(const char *path) {
  playlists::RemovedSongs removed;
  const int result = ChangeInPreferences("VEXOPersonalPlaylistRemoveMissing", path,
                                         [&] { return playlists::RemovingMissing(removed); });
  return Logged(removed, result);
}
