#pragma once
#include "media/kept_covers.h"
#include <array>
#include <optional>
#include <string>
#include <string_view>

namespace vexo::media {

/// What the program `cover` has written.
struct MadeCovers {
  std::string hash;                                         ///< of the picture's content
  std::array<std::string_view, kCoverSizes.size()> jpegs{}; ///< in the order of kCoverSizes
};

inline constexpr std::size_t kLargestCover = std::size_t{2} << 20U; ///< bytes

/// Parts `bytes`, which have to live as long as the result: "HASH SIZE SIZE SIZE", a line end, and
/// so many bytes. Nothing for any other text: whoever wrote it has read foreign bytes.
std::optional<MadeCovers> ParseCovers(std::string_view bytes);

} // namespace vexo::media
