#pragma once
#include "vexo/web.h"
#include <string>

/// Appends to `out` the database ids in a comma-separated list of node ids, comma-separated as
/// well; `tail_mode` is that of IdTail(). False: there is none.
[[nodiscard]] bool BuildPlaylistIdList(const char *ids, std::string &out, int tail_mode);

/// Removes the smart playlists of a comma-separated list of node ids from the shared rules or from
/// the login user's; the DAAP service then reads the shared ones afresh. False: failed; where a
/// failure is logged, it is here.
[[nodiscard]] bool DeleteSmartPlaylists(const WebMan &request, const char *ids, bool personal);

/// Restarts the DAAP service and writes the event "remove playlist(s)" to the administrative log,
/// with that text after any change. False: the restart failed; logged, and no event is written.
bool RestartITunesServiceAndLog();
