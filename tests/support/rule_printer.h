#pragma once

#include "smart/rule.h"
#include <string>

namespace vexo::smart {

/// The playlist as a block of a rule file, without a line break at its end. ParsePlaylist() of it
/// gives the same playlist.
std::string PrintPlaylist(const SmartPlaylist &playlist);

} // namespace vexo::smart
