#pragma once
#include "index/media_index.h"
#include "scan/library.h"
#include "scan/library_walk.h"
#include "scan/output.h"
#include <chrono>
#include <cstddef>

namespace vexo::tools {

/// The playlist files of a library, by path; none when it has no folder for them. Throws
/// std::system_error when that cannot be read.
Walk FindPlaylistFiles(const Library &library, Output &output);

/// The row that the program would make for a playlist file.
index::Playlist RowOf(const Library &library, const FoundFile &file);

/// Adds a row; false: somebody else has done so meanwhile.
bool AddRow(index::MediaIndex &index, const index::Playlist &row);

/// Gives the playlist files that have no row their row; how many. A file that changed less than
/// `settled` ago is waited for, as its maker may be about to add the row.
std::size_t AddPlaylistRows(index::MediaIndex &index, const Library &library,
                            std::chrono::seconds settled, Output &output);

} // namespace vexo::tools
