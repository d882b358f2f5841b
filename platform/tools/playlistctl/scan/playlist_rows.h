#pragma once
// What differs between the playlist files of a library and their rows, and how it is mended. A row
// follows its file through renames, so that the playlist keeps its id.

#include "index/media_index.h"
#include "playlistctl/scan/library.h"
#include "playlistctl/scan/library_walk.h"
#include "playlistctl/scan/output.h"
#include <chrono>
#include <cstddef>
#include <string>
#include <vector>

namespace vexo::tools {

struct PlaylistDifference {
  enum class Kind {
    kStatus, ///< size, time or identity; no damage, as every program may edit a file
    kTitle,  ///< the row's title is not the file's name
    kMoved,  ///< the row's file has another path
    kLost,   ///< the row has no file
    kNew,    ///< the file has no row
  };
  Kind kind;
  index::Playlist row;     ///< as the index has it; its id is 0 for kNew
  index::Playlist mended;  ///< as the file tells; as `row` for kLost
  bool overwrites = false; ///< kMoved: a file that is gone has the row with the new path
};

/// The playlist files of a library, by path; none when it has no folder for them. Throws
/// std::system_error when that cannot be read.
Walk FindPlaylistFiles(const Library &library, Output &output);

/// The row that the program would make for a playlist file.
index::Playlist RowOf(const Library &library, const FoundFile &file);

/// What differs, in the order in which it is to be mended. Requests may be at work: what they are
/// just about to finish differs as well. Throws std::system_error when files cannot be read.
std::vector<PlaylistDifference> ComparePlaylists(index::MediaIndex &index, const Library &library,
                                                 Output &output);

/// Mends one difference; false: the file or the row was moved or removed meanwhile.
[[nodiscard]] bool MendPlaylist(index::MediaIndex &index, const PlaylistDifference &difference);

struct PlaylistChanges {
  std::size_t added = 0, moved = 0;
};

/// Gives playlist files without a row their row, and rows whose file was renamed its path. Rows
/// without a file stay: it may be back soon. What is found is looked at again after `grace_period`:
/// a request may be about to write its row.
PlaylistChanges UpdatePlaylistRows(index::MediaIndex &index, const Library &library,
                                   std::chrono::seconds grace_period, Output &output);

} // namespace vexo::tools
