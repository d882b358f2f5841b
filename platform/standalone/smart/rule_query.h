#pragma once

#include "index/song_query.h"
#include "smart/rule.h"
#include <ctime>

namespace vexo::smart {

/// The question to the index that the playlist is when it is `now`. A limit of 0 songs, which the
/// index has no question for, is the caller's.
index::SongQuery MakeQuery(const SmartPlaylist &playlist, std::time_t now);

} // namespace vexo::smart
