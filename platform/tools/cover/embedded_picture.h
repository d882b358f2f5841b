#pragma once
#include <optional>
#include <string>

namespace vexo::cover {

/// The bytes of the picture inside a song's tags: the one that is said to be the front cover, else
/// the first that is no icon. Nothing when the song has none, or is no file that TagLib reads. `fd`
/// is the song, open for reading; `format` its usual file extension, which says how it is read.
std::optional<std::string> EmbeddedPicture(int fd, const std::string &format);

} // namespace vexo::cover
