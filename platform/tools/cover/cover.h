#pragma once
#include <optional>
#include <string>
#include <string_view>

namespace vexo::cover {

/// A picture's covers as the program writes them: a line "HASH SIZE SIZE SIZE" of the picture's
/// content hash (32 hexadecimal digits) and the numbers of bytes of its JPEGs, scaled to 640, 320
/// and 96 pixels on the longer side, and then these. Nothing for what is no picture that can be
/// read.
std::optional<std::string> MakeCovers(std::string_view picture);

} // namespace vexo::cover
