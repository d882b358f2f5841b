#pragma once
#include "vexo/web.h"

/// Copies a smart playlist. The response gets the node of the copy or an error.
void DuplicateSmartPlaylist(const WebMan &request, Json::Value &response, const char *id);
