#pragma once
#include <cstddef>
#include <string_view>
#include <vector>

namespace vexo::playlists {

/// The 0-based positions of a comma-separated text, in any order there, ascending and each once
/// here. Throws std::invalid_argument for anything else, for no position at all, and for a position
/// that a list of `length` entries does not have.
std::vector<std::size_t> ParsePositions(std::string_view text, std::size_t length);

} // namespace vexo::playlists
