#pragma once
// JSPF, as other programs write it: XSPF in JSON.

#include "catalog/xspf.h"
#include <string>
#include <vector>

namespace vexo::api {

/// The tracks of a JSPF document; of several locations of one, the first. Throws
/// catalog::ForeignError for what is none, playlists::UnreadableError for more tracks than a list
/// may have.
std::vector<catalog::ForeignTrack> ParseJspf(const std::string &text);

} // namespace vexo::api
