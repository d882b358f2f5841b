#pragma once
// The part of a playlist's database row that tells about its file: times and size.

#include "vexo/media_info.h"
#include <sys/stat.h>

/// Copies the times of the file into the record.
void SetFileTimes(__tag_VEXO_MEDIA_INFO &record, const struct stat &status);

/// Copies the times and the size.
void SetFileTimesAndSize(__tag_VEXO_MEDIA_INFO &record, const struct stat &status);

/// Refreshes the row of a playlist in the library "shared" or "personal" of the user from its file.
/// False: failed and logged (a row that cannot be written back is not logged).
[[nodiscard]] bool UpdatePlaylistDBInfo(const char *library, int user_id, int playlist_id);
