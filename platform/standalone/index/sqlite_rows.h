#pragma once
// Rows of the tables as the index's records, and lists as parameters.

#include "index/media_index.h"
#include "index/sqlite_database.h"
#include <cstdint>
#include <string>
#include <vector>

namespace vexo::index {

/// The columns that ReadSong() reads, in its order.
#define VEXO_SONG_COLUMNS                                                                          \
  "songs.id, songs.owner, songs.path, songs.title, songs.artist, songs.album, songs.genre, "       \
  "songs.track, songs.disc, songs.year, songs.duration, songs.bitrate, songs.sample_rate, "        \
  "songs.channels, songs.size, songs.album_artist, songs.composer, songs.comment, songs.type, "    \
  "songs.rating, songs.play_count, songs.compilation, songs.time_added, songs.time_modified, "     \
  "songs.time_changed"

/// The columns that ReadPlaylist() reads, in its order.
#define VEXO_PLAYLIST_COLUMNS                                                                      \
  "id, owner, path, title, album, change_time, modification_time, size, inode, born_ns"

Song ReadSong(const Statement &row);
Playlist ReadPlaylist(const Statement &row);

/// All rows that are left.
std::vector<Song> ReadSongs(Statement &statement);
std::vector<Playlist> ReadPlaylists(Statement &statement);

/// A list as one parameter for json_each().
std::string JsonList(const std::vector<int32_t> &numbers);
std::string JsonList(const std::vector<std::string> &texts);

} // namespace vexo::index
