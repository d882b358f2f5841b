#pragma once
// Sort keys: bytes whose order, byte by byte, is the order of what they stand for. So every engine
// sorts alike, whatever it thinks of languages.

#include "index/catalog.h"
#include <span>
#include <string>

namespace vexo::index {

std::string SongSortKey(const Song &song, const SongGroups &groups, std::span<const Field> fields);
std::string GroupSortKey(const Group &group, std::span<const GroupField> fields);

/// What the sort keys by year begin with, for songs of this year. The key of a later year is
/// greater than all that begin so.
std::string YearKey(int64_t year);

} // namespace vexo::index
