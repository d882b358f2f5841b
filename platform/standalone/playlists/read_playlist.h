#pragma once
// Playlist files are opened without following a link out of the folders they belong to. Where no
// file is there is no content, and a line in the system log; what may not be read throws
// UnreadableError, and what cannot be, std::system_error.

#include <optional>
#include <string>

namespace vexo::playlists {

/// The bytes of the playlist file at `path`, which lies in a playlists folder that counts (see
/// playlist_folders.h). The real path of the open file decides, so a link is followed from one of
/// these folders into another and no further, whatever happens to the path meanwhile.
std::optional<std::string> ReadPlaylist(const std::string &path);

/// The same of a file in the folder for temporary files, where others may put theirs: neither their
/// files nor links of any kind are read.
std::optional<std::string> ReadTemporaryPlaylist(const std::string &path);

} // namespace vexo::playlists
