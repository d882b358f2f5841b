#pragma once
#include "vexo/web.h"

/// "checkempty": whether a playlist of any kind has no songs.
void HandleCheckEmpty(WebMan &request);
