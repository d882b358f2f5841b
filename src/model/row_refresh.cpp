#include "model/row_refresh.h"

#include "model/field_text.h"
#include "model/log_line.h"
#include "vexo/media_index.h"
#include <ctime>
#include <memory>

namespace {

constexpr int kPlaylistTable = 3;

struct CursorDeleter {
  void operator()(VEXOMediaCursor *cursor) const { AudioInfoDBClose(cursor); }
};

bool ReadRow(const char *library, int user_id, int playlist_id, __tag_VEXO_MEDIA_INFO *row) {
  char query[32];
  PrintToField(query, sizeof(query), "id = %d", playlist_id);
  const std::unique_ptr<VEXOMediaCursor, CursorDeleter> cursor(
      AudioInfoDBOpen(library, user_id, kPlaylistTable, "*", query, 0, 0, 0, 0));
  if (cursor == nullptr) {
    LOG_LINE("Failed to MediaInfoDBOpen.");
    return false;
  }
  if (MediaInfoDBGet(cursor.get(), row) == -1) {
    LOG_LINE("Failed to MediaInfoDBGet.");
    return false;
  }
  return true;
}

} // namespace

void SetFileTimes(__tag_VEXO_MEDIA_INFO &record, const struct stat &status) {
  SetField(record.changeTime, std::ctime(&status.st_ctime));
  SetField(record.modificationTime, std::ctime(&status.st_mtime));
}

void SetFileTimesAndSize(__tag_VEXO_MEDIA_INFO &record, const struct stat &status) {
  SetFileTimes(record, status);
  record.size = static_cast<uint64_t>(status.st_size);
}

bool UpdatePlaylistDBInfo(const char *library, int user_id, int playlist_id) {
  if (playlist_id < 1) {
    LOG_LINE("Bad parameter.");
    return false;
  }
  __tag_VEXO_MEDIA_INFO row{};
  if (!ReadRow(library, user_id, playlist_id, &row)) {
    return false;
  }
  struct stat status {};
  if (stat(row.path, &status) != 0) {
    // The same message as for a failed MediaInfoDBGet(), on purpose.
    LOG_LINE("Failed to MediaInfoDBGet.");
    return false;
  }
  SetFileTimesAndSize(row, status);
  return VEXOPlaylistDBUpdate(library, user_id, &row, playlist_id) != -1;
}
