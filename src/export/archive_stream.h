#pragma once
// The archive of a download: songs behind links in a folder of its own, two playlists of them, and
// the zip tool that reads their names and writes the archive as it is sent.

#include "vexo/media_info.h"
#include "vexo/web.h"
#include <string>

/// How the archive is offered to the client.
struct ArchiveOffer {
  const _tag_vexo_browser_info_ &browser;
  const std::string &file_name;
  const char *content_type;
};

/// Sends the songs as an archive; null: of no songs. False: it was not sent, and `response` says
/// why when it could not even begin.
[[nodiscard]] bool SendArchive(const VEXOPlaylistRec *songs, const ArchiveOffer &offer,
                               Json::Value &response);
