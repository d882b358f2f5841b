#pragma once
#include "index/media_index.h"
#include "playlistctl/doctor/findings.h"
#include "playlistctl/scan/library.h"
#include <chrono>

namespace vexo::tools {

/// Compares the playlist files of a library with their rows: files without a row, rows without a
/// file, renamed files whose row has the old path, titles that are not the file's name; sizes and
/// times that differ are noticed. Requests may be at work: what differs is looked at again after
/// `grace_period`, and only what still does counts.
void CheckPlaylists(index::MediaIndex &index, const Library &library,
                    std::chrono::milliseconds grace_period, Findings &findings, Output &output);

} // namespace vexo::tools
