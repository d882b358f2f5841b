#pragma once
// Sort keys: bytes whose order, byte by byte, is the order of what they stand for. So every engine
// sorts alike, whatever it thinks of languages.

#include "index/catalog.h"
#include <span>
#include <string>
#include <string_view>

namespace vexo::index {

std::string SongSortKey(const Song &song, const SongGroups &groups, std::span<const Field> fields);
std::string GroupSortKey(const Group &group, std::span<const GroupField> fields);

/// What the sort keys by year begin with, for songs of this year. The key of a later year is
/// greater than all that begin so.
std::string YearKey(int64_t year);

/// What a song is found by that has this name as its title, or whose file has this name without
/// folders and extension.
std::string NameKey(std::string_view name);

/// The name of a file without its folders and its extension; separators are slashes and
/// backslashes.
std::string_view FileStem(std::string_view path);

} // namespace vexo::index
