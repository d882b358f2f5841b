#pragma once
#include "vexo/web.h"

/// Copies a normal playlist. The response gets the node of the copy or an error; where the personal
/// library does not know the playlist it stays as it is.
void DuplicateNormalPlaylist(const WebMan &request, Json::Value &response, const char *id);
