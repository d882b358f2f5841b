#pragma once
// The actions that create a normal playlist, or with `overwrite` replace the songs of one.

#include "vexo/web.h"

/// "add": from songs that the client has chosen.
void HandleAdd(WebMan &request);

/// "addplaying": from the queue of a player.
void HandleAddPlaying(WebMan &request);

/// "addsearch": from a search of the library.
void HandleAddSearch(WebMan &request);

/// The code of the field that a search looks in, by its exact name; 0: none.
[[nodiscard]] int SearchFieldFromName(const char *category);
