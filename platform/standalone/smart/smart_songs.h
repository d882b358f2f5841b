#pragma once

#include "index/media_index.h"
#include <optional>
#include <string>
#include <vector>

namespace vexo::smart {

/// The songs that the playlist `name` of a rule file chooses now, from position `offset` on,
/// `limit` at most (0: all). Nothing: there is no such playlist. Throws for negative numbers and
/// for rules that cannot be read.
std::optional<std::vector<index::Song>> ListSongs(const std::string &file, const std::string &name,
                                                  int offset, int limit);

} // namespace vexo::smart
