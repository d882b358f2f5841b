#pragma once
// Rows of the tables as the index's records.

#include "index/database.h"
#include "index/media_index.h"
#include <algorithm>
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

/// Behind those, the columns that ReadCatalogSong() reads.
#define VEXO_SONG_GROUP_COLUMNS                                                                    \
  "songs.album_id, songs.artist_id, songs.album_artist_id, songs.genre_id, songs.composer_id, "    \
  "songs.folder_id"

/// The columns that ReadPlaylist() reads, in its order.
#define VEXO_PLAYLIST_COLUMNS                                                                      \
  "id, owner, path, title, album, change_time, modification_time, size, inode, born_ns"

/// The columns that ViewSong() reads, in its order.
#define VEXO_SONG_VIEW_COLUMNS                                                                     \
  "id, path, title, artist, album, genre, track, disc, year, duration, bitrate, sample_rate, "     \
  "channels, size"

Song ReadSong(const Statement &row);
/// Its texts are there until the statement moves on.
SongView ViewSong(const Statement &row);
CatalogSong ReadCatalogSong(const Statement &row);
Playlist ReadPlaylist(const Statement &row);

/// All rows that are left.
std::vector<Song> ReadSongs(Statement &statement);
std::vector<Playlist> ReadPlaylists(Statement &statement);

/// In ascending order, each once.
template <typename Key> std::vector<Key> SortedOnce(std::vector<Key> keys) {
  std::sort(keys.begin(), keys.end());
  keys.erase(std::unique(keys.begin(), keys.end()), keys.end());
  return keys;
}

/// Ids as the keys of a Lookup, in their order.
inline std::vector<int64_t> InOrder(const std::vector<int32_t> &ids) {
  return {ids.begin(), ids.end()};
}

/// The same, ascending and each once.
inline std::vector<int64_t> ToKeys(const std::vector<int32_t> &ids) {
  return SortedOnce(std::vector<int64_t>(ids.begin(), ids.end()));
}

} // namespace vexo::index
