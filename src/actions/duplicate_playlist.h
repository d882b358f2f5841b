#pragma once
#include "vexo/web.h"

/// "duplicate": copies a playlist into the other library, under the same name.
void HandleDuplicate(WebMan &request);

/// Copies a normal playlist. The response gets the node of the copy or an error; where the personal
/// library does not know the playlist it stays as it is.
void DuplicateNormalPlaylist(const WebMan &request, Json::Value &response, const char *id);

/// Copies a smart playlist. The response gets the node of the copy or an error.
void DuplicateSmartPlaylist(const WebMan &request, Json::Value &response, const char *id);
