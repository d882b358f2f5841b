#pragma once
// What this process knows of playlist files: those that it made, and those that it found the row
// of.

#include "index/media_index.h"
#include <string>

namespace vexo::playlists {

/// Records that this process made the file `path`.
void NoteNewFile(const std::string &path);

/// True once for each file that this process made; the caller may then replace a stale row.
[[nodiscard]] bool ClaimNewFile(const std::string &path);

/// Records that an index row exists whose file was written just now or is about to be: the row is
/// kept up to date with it, and the file is not made again when it vanishes.
void ExpectFile(const index::Playlist &row);

/// Whether the file `path` was there for this process, and was renamed or deleted by somebody
/// since. A file that only its row has lost, which stays, was not.
[[nodiscard]] bool WasTakenAway(const std::string &path);

/// Tells the rows that this process found with the file's path that it was written.
void RefreshRowsOf(const std::string &path);

/// Forgets them all, as a test does that stands for a process of its own.
void ForgetSeenFiles() noexcept;

} // namespace vexo::playlists
