#pragma once

#include "index/media_index.h"
#include "smart/rule.h"
#include "smart/rule_file.h"
#include <optional>
#include <string>
#include <vector>

namespace vexo::smart {

/// The songs that the playlist `name` of a rule file chooses now, from position `offset` on,
/// `limit` at most (0: all). Nothing: there is no such playlist. Throws for negative numbers and
/// for rules that cannot be read.
std::optional<std::vector<index::Song>> ListSongs(const std::string &file, const std::string &name,
                                                  int offset, int limit);

/// The songs that a playlist chooses now of those in `scope`, from position `offset` on, `limit` at
/// most (0: all).
std::vector<index::Song> ChooseSongs(const SmartPlaylist &playlist, const Scope &scope,
                                     int64_t offset, int64_t limit);
/// What all of them come to.
index::SongTotals CountSongs(const SmartPlaylist &playlist, const Scope &scope);

} // namespace vexo::smart
