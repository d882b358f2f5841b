#pragma once
#include "model/location.h"
#include "model/playlist_rows.h"

/// Finds the file of a normal playlist by its node id: completes the kind and the path of
/// `location`, whose user is known. A playlist that has a row is looked up, in the shared library
/// for nobody, and `rows` takes what was found; for one of a preference folder nothing is looked
/// up. A step of an action (see model/answer.h): false, with a log line, when there is no such row.
[[nodiscard]] bool FindPlaylist(const WebMan &request, const char *node_id,
                                PlaylistLocation &location, PlaylistRows &rows,
                                Json::Value &response);
