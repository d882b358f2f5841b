#pragma once
#include "vexo/media_index.h"
#include <memory>
#include <string>

struct PlaylistRowsDeleter {
  void operator()(VEXOPlaylistRow *list) const { VEXOPlayListFree(list); }
};
/// Owns a list of playlist rows.
using PlaylistRows = std::unique_ptr<VEXOPlaylistRow, PlaylistRowsDeleter>;

/// Looks up rows by their comma-separated ids. The host's result: 0, or negative when there is
/// none.
[[nodiscard]] int LookUpRows(const char *library, int user_id, const char *ids, PlaylistRows &rows);

/// The file path of the first row; empty when there is none.
[[nodiscard]] std::string FirstPath(const PlaylistRows &rows);
