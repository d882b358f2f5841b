#pragma once
// The download: a song as it is, or an archive of songs with two playlists of them.

#include "vexo/web.h"

/// Sends what the first of the parameters `target` (a player's queue), `playlist` (a node id) and
/// `id_info_list` (chosen songs) names, under the name that `filename` gives. A failure is answered
/// with one document.
void HandleDownload(WebMan &request);
