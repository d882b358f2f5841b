#pragma once
// Numbers in texts of clients and files.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace vexo::text {

/// The number that the whole of `text` is in decimal; nothing for any other text or one out of
/// range.
std::optional<int64_t> ParseInteger(std::string_view text);

/// The number of seconds that a text begins with; 0, not known, for any other text, for a negative
/// number and for an absurdly large one.
float ParseSeconds(std::string_view text);

/// The 0-based positions of a comma-separated text, in any order there, ascending and each once
/// here. Throws std::invalid_argument for anything else, for no position at all, and for a position
/// that a list of `length` entries does not have.
std::vector<std::size_t> ParsePositions(std::string_view text, std::size_t length);

} // namespace vexo::text
