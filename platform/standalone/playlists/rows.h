#pragma once
// The rows of playlists that libraries hold, and the files they name.

#include "files/edit_file.h"
#include "index/media_index.h"
#include <cstdint>
#include <string>
#include <vector>

namespace vexo::playlists {

struct RowKey {
  int owner;
  int32_t id;
};

/// Edits the file of a playlist under the condition of playlists/condition.h, wherever a rename
/// moves it meanwhile. Throws when there is no such row, when its file stays missing for about two
/// seconds, when the file lies outside of the library, and whatever `edit` throws.
void EditRow(const RowKey &key, const files::Edit &edit);

/// Removes playlists, files and rows; one that is not there is removed already. A file is taken
/// away first and put back when the row cannot be removed; a crash between the two leaves a row
/// without a file. Throws for a file outside of the library.
void RemoveRows(const std::vector<RowKey> &rows);

/// Adds a row. `is_new_file`: this process has just made the file; a row that its path has already
/// lost the file unnoticed, as somebody renamed or removed it by hand, and gives way: it follows
/// the file or goes. Throws for any other row with that path, and for a path outside of the
/// playlists folder of its library.
void AddRow(const index::Playlist &row, bool is_new_file);

/// Rewrites the row of `id`; false: there is none. Size, times and identity are those of the file
/// as it is then, where it is there. If the row was renamed since `values` were read, its new path
/// and title are kept and only these are updated. A row whose file is not there takes the path of
/// `values`, unless a rename that is under way takes it elsewhere.
bool RefreshRow(int owner, int32_t id, const index::Playlist &values);

/// Brings size, times and identity of a row up to date after its file was written; a failure is
/// only logged, as the file is what counts.
void RefreshFileStatus(const index::Playlist &row) noexcept;

/// Rewrites the row that has `old_path`, which moves the playlist; false: there is none.
bool MoveRow(int owner, const std::string &old_path, const index::Playlist &values);

/// Whether a row whose file is not there keeps its path: no rename or removal is under way.
bool StaysAt(int owner, const std::string &path);

} // namespace vexo::playlists
