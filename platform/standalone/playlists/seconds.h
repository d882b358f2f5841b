#pragma once
#include <string_view>

namespace vexo::playlists {

/// The number of seconds that a text begins with; 0, not known, for any other text, for a negative
/// number and for an absurdly large one.
float ParseSeconds(std::string_view text);

} // namespace vexo::playlists
