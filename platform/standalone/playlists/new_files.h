#pragma once
// Playlist files written whole.

#include "index/media_index.h"
#include "playlists/m3u.h"
#include <span>
#include <string>
#include <vector>

namespace vexo::playlists {

/// Makes the playlist file `path` with these songs, or replaces the songs of the one that is there.
/// Songs for a file that was there for this process, and that is gone since, are refused: somebody
/// renamed or deleted it, and a second file would bring the old name back. Throws.
void WriteSongs(std::span<const NewEntry> songs, const std::string &path);

/// Tells that this process found a row, whose file was written just now or is about to be: the row
/// is kept up to date with it.
void ExpectFile(const index::Playlist &row);

/// Whether this process made the file `path`; true once a file, for the first row it is given.
[[nodiscard]] bool ClaimNewFile(const std::string &path);

/// Makes the playlist file `path` in the folder for temporary files, where others may have put
/// something of that name: a link is replaced, a file only when it is the server's own. Throws.
void WriteTemporaryPlaylist(const std::vector<index::Song> &songs, const std::string &path);

} // namespace vexo::playlists
