#pragma once
// The actions that change the songs of a playlist.

#include "vexo/web.h"

/// "addsongs": appends songs.
void HandleAddSongs(WebMan &request);

/// "update": puts songs in the place of a stretch of the list.
void HandleUpdate(WebMan &request);

/// "removesongs": removes songs by their positions.
void HandleRemoveSongs(WebMan &request);

/// "remove_missing": drops the songs whose files are gone.
void HandleRemoveMissing(WebMan &request);
