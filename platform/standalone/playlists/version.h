#pragma once
// Versions of playlists, by which a client tells whether one has changed since it looked.

#include "files/file_io.h"
#include <string>
#include <string_view>

namespace vexo::playlists {

/// The version that a playlist with these bytes has: 32 hexadecimal digits, the same on every
/// machine (XXH3, 128 bits, in its canonical form). It tells edits apart, and proves nothing.
std::string ContentVersion(std::string_view bytes);
/// The same of bytes in pieces.
std::string ContentVersion(const files::Pieces &pieces);

} // namespace vexo::playlists
