#pragma once

#include "smart/rule.h"
#include <optional>
#include <string>

namespace vexo::smart {

/// A playlist as a file holds it.
struct PlaylistSource {
  SmartPlaylist playlist;
  std::string block; ///< its text, from the name to the closing brace
};

/// The first playlist of that name in a rule file; nothing when there is none, or no such file.
/// Throws std::runtime_error, with file, line and column, when its rules cannot be read.
std::optional<PlaylistSource> FindPlaylist(const std::string &file, const std::string &name);

} // namespace vexo::smart
