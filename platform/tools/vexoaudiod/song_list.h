#pragma once
// The songs that a client sends along with its record.

#include "files/file_descriptor.h"
#include <cstddef>
#include <string>
#include <vector>

namespace vexo::audiod {

inline constexpr std::size_t kMostSongs = 100'000;
/// As many paths of the usual length, and more.
inline constexpr std::size_t kMostSongBytes = std::size_t{64} << 20;

/// The lines of a memory file that nobody can change any more: an ordinary file could keep the
/// daemon waiting, or grow. Throws std::runtime_error for anything else, and beyond the bounds.
std::vector<std::string> ReadSongs(const files::FileDescriptor &file);

} // namespace vexo::audiod
