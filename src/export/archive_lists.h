#pragma once
#include "vexo/media_info.h"
#include <string>

/// Fills the current directory, an empty one: a link a song, "playlist.m3u" in the code page of the
/// index, "playlist.m3u8" in UTF-8, and a list of all names for the zip tool, whose own name is put
/// into `names`. Null songs: none. False: failed and logged.
[[nodiscard]] bool WriteArchiveLists(const VEXOPlaylistRec *songs, std::string &names);
