#pragma once
#include <string_view>

namespace vexo::media {

/// The media type of a song's format (index::Song::type, or the extension of its file), as browsers
/// know it; application/octet-stream for one that is not known.
std::string_view MediaTypeOf(std::string_view format);

} // namespace vexo::media
