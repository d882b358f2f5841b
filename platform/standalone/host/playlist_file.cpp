// Playlist files, and edits of their songs.
#include "vexo/playlist_file.h"

#include "files/edit_file.h"
#include "host/arguments.h"
#include "host/guard.h"
#include "host/records.h"
#include "playlists/condition.h"
#include "playlists/entries.h"
#include "playlists/playlist_edits.h"
#include "playlists/playlist_folders.h"
#include "playlists/read_playlist.h"
#include "playlists/rows.h"
#include "playlists/write_playlist.h"
#include "text/numbers.h"
#include <stdexcept>
#include <string>
#include <string_view>

using namespace vexo;
using namespace vexo::host;

namespace {

int32_t RequireId(const char *text) {
  const auto id = text::ParseInteger(Required(text));
  if (!id || *id <= 0 || *id > INT32_MAX) {
    throw std::invalid_argument(std::string("no id of a playlist: ") + text);
  }
  return static_cast<int32_t>(*id);
}

/// The first `count` songs.
std::vector<playlists::NewEntry> FirstSongs(const VEXOPlaylistRec *songs, int count) {
  if (count < 0) {
    throw std::invalid_argument("count is negative: " + std::to_string(count));
  }
  return NewEntries(songs, static_cast<std::size_t>(count));
}

std::string Positions(const char *text) { return text == nullptr ? "" : text; }

/// Edits the playlist of a library.
int EditInLibrary(const char *library, int user_id, const char *id, const files::Edit &edit) {
  playlists::EditRow({LibraryOwner(library, user_id), RequireId(id)}, edit);
  return 0;
}

/// Edits the playlist file of a preference folder.
int EditInPreferences(const char *path, const files::Edit &edit) {
  playlists::RequireInPlaylistsFolder(Required(path));
  if (!files::EditDurably(path, playlists::Versioned(edit))) {
    playlists::RequireVersion(std::nullopt);
    throw std::runtime_error(std::string("there is no playlist ") + path);
  }
  return 0;
}

} // namespace

int VEXOWriteMusicPlaylist(const VEXOPlaylistRec *songs, const char *path) {
  return Guarded(-1, [&] {
    playlists::WriteSongs(NewEntries(songs), Required(path));
    return 0;
  });
}

VEXOPlaylistRec *ParsePlayListByFieldGivenPath(const char *path, int *count, int offset, int limit,
                                               const char *fields, int code) {
  constexpr int kEveryField = 7;
  return GuardedRead(nullptr, [&] {
    if (std::string_view(Required(fields)) != "*" || code != kEveryField) {
      throw std::invalid_argument("no fields that are known");
    }
    const auto range = playlists::Range::Of(offset, limit);
    const auto content = playlists::ReadPlaylist(Required(path));
    if (!content) {
      playlists::NoteUnread(playlists::Unread::kNotThere);
      return static_cast<VEXOPlaylistRec *>(nullptr);
    }
    const playlists::EntrySongs songs(playlists::ReadEntries(*content, path, range));
    SongList list = MakeSongList(songs);
    *count = static_cast<int>(songs.size());
    return list.release();
  });
}

int VEXOPlaylistAppendSongs(const char *library, int userId, const char *id,
                            const VEXOPlaylistRec *songs, int count) {
  return Guarded(-1, [&] {
    return EditInLibrary(library, userId, id, playlists::Appending(FirstSongs(songs, count)));
  });
}

int VEXOPlaylistUpdateSongs(const char *library, int userId, const char *id,
                            const VEXOPlaylistRec *songs, long start, long limit) {
  return Guarded(-1, [&] {
    return EditInLibrary(library, userId, id, playlists::Splicing(NewEntries(songs), start, limit));
  });
}

int VEXOPlaylistRemoveSongs(const char *library, int userId, const char *id,
                            const char *positions) {
  return Guarded(-1, [&] {
    return EditInLibrary(library, userId, id, playlists::Removing(Positions(positions)));
  });
}

int VEXOPlaylistRemoveMissing(const char *library, int userId, const char *id) {
  return Guarded(-1, [&] {
    playlists::RemovedSongs removed;
    const int result = EditInLibrary(library, userId, id, playlists::RemovingMissing(removed));
    playlists::LogRemovedSongs(removed);
    return result;
  });
}

int VEXOPersonalPlaylistAppendSongs(const char *path, const VEXOPlaylistRec *songs, int count) {
  return Guarded(
      -1, [&] { return EditInPreferences(path, playlists::Appending(FirstSongs(songs, count))); });
}

int VEXOPersonalPlaylistUpdateSongs(const char *path, const VEXOPlaylistRec *songs, long start,
                                    long limit) {
  return Guarded(-1, [&] {
    return EditInPreferences(path, playlists::Splicing(NewEntries(songs), start, limit));
  });
}

int VEXOPersonalPlaylistRemoveSongs(const char *path, const char *positions) {
  return Guarded(
      -1, [&] { return EditInPreferences(path, playlists::Removing(Positions(positions))); });
}

int VEXOPersonalPlaylistRemoveMissing(const char *path) {
  return Guarded(-1, [&] {
    playlists::RemovedSongs removed;
    const int result = EditInPreferences(path, playlists::RemovingMissing(removed));
    playlists::LogRemovedSongs(removed);
    return result;
  });
}
