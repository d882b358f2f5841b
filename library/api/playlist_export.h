#pragma once
// Playlists as files of other programs.

#include "api/answer.h"
#include "catalog/exported_songs.h"
#include <string_view>
#include <vector>

namespace vexo::api {

/// What the parameter `format` may be, beside "json".
#define VEXO_EXPORT_FORMATS "m3u8", "m3u", "pls", "xspf", "jspf"

/// The songs as a file of one of these formats, which the client is offered as an attachment.
Answer ExportAnswer(const std::vector<catalog::ExportedSong> &songs, const std::string &name,
                    std::string_view format);

} // namespace vexo::api
