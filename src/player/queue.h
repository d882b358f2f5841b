#pragma once
// What is queued on a player, as a song list.

#include "vexo/media_info.h"
#include "vexo/web.h"

/// Reads the queue of a player into a new list. The request's own parameter "target" tells
/// "stream", the queue of the user's browser stream, from the players of the daemon; `target` names
/// one of these: "usb", or its number. Gives the number of entries that the queue has, or -1 with a
/// log line. `*head` must be null; the list is the caller's, also the part that was built before a
/// failure.
[[nodiscard]] int LoadPlayerQueue(WebMan &request, const char *target, VEXOPlaylistRec **head);
