#include "model/playlist_rows.h"

int LookUpRows(const char *library, int user_id, const char *ids, PlaylistRows &rows) {
  VEXOPlaylistRow *list = nullptr;
  const int result = VEXOPlayListListGetByID(library, user_id, &list, ids);
  rows.reset(list);
  return result;
}

std::string FirstPath(const PlaylistRows &rows) { return rows == nullptr ? "" : rows->info.path; }
