#include "model/file_facts.h"

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

bool ReadRow(const char *library, int userId, int playlistId, __tag_VEXO_MEDIA_INFO *row) {
  char query[32];
  PrintToField(query, sizeof(query), "id = %d", playlistId);
  const std::unique_ptr<VEXOMediaCursor, CursorDeleter> cursor(
      AudioInfoDBOpen(library, userId, kPlaylistTable, "*", query, 0, 0, 0, 0));
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

void SetFileTimes(__tag_VEXO_MEDIA_INFO &record, const struct stat &facts) {
  SetField(record.changeTime, std::ctime(&facts.st_ctime));
  SetField(record.modificationTime, std::ctime(&facts.st_mtime));
}

void SetFileFacts(__tag_VEXO_MEDIA_INFO &record, const struct stat &facts) {
  SetFileTimes(record, facts);
  record.size = static_cast<uint64_t>(facts.st_size);
}

bool UpdatePlaylistDBInfo(const char *library, int userId, int playlistId) {
  if (playlistId < 1) {
    LOG_LINE("Bad parameter.");
    return false;
  }
  __tag_VEXO_MEDIA_INFO row{};
  if (!ReadRow(library, userId, playlistId, &row)) {
    return false;
  }
  struct stat facts {};
  if (stat(row.path, &facts) != 0) {
    // The client's tools know this failure by the text of the one before.
    LOG_LINE("Failed to MediaInfoDBGet.");
    return false;
  }
  SetFileFacts(row, facts);
  return VEXOPlaylistDBUpdate(library, userId, &row, playlistId) != -1;
}
