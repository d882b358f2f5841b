#pragma once

/// Restarts the DAAP service and writes the event "remove playlist(s)" to the administrative log,
/// by that text whatever was done. False, logged and without the event: it could not be restarted.
bool RestartITunesServiceAndLog();
