#pragma once
// Rows as they are when no rename is under way. A rename moves the file first and writes the row a
// moment later, and holds the lock of the folder from the one to the other.

#include "index/media_index.h"
#include <cstdint>
#include <optional>
#include <vector>

namespace vexo::playlists {

/// The row as it is now; nothing when there is none.
std::optional<index::Playlist> FindRow(int owner, int32_t id);

/// The rows of `owner` with these ids that exist, in no promised order. Where a row's file is not
/// there, a rename that takes it elsewhere is waited for, for kLockPatience at most in all.
std::vector<index::Playlist> FindSettledRows(int owner, const std::vector<int32_t> &ids);

/// The row, if there is one. The program now looks at the row's file and rewrites the row: until
/// ReleaseRow(), the next look-up or the end of the process no rename can come between. Where the
/// lock of the folder cannot be had in time, the row is found without: a folder that somebody else
/// locks for good must not stop edits, and RefreshRow() keeps the path of a rename between.
std::optional<index::Playlist> HoldRow(int owner, int32_t id);
void ReleaseRow() noexcept;

} // namespace vexo::playlists
