#pragma once
// Changes of a rule file's text. Each touches its own blocks only: every other byte stays,
// comments, spacing and broken blocks included. A change that would make other playlists of what
// stands around it (possible only where text outside of blocks looks like half a playlist) throws
// std::runtime_error.

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vexo::smart {

/// With `block` on lines of its own at the end.
std::string AppendBlock(std::string_view file, std::string_view block);

/// With `block` in the place of the first playlist of that name; nothing when there is none.
std::optional<std::string> ReplaceBlock(std::string_view file, std::string_view name,
                                        std::string_view block);

/// Without the playlists of those names, all of them where a name stands more than once; nothing
/// when there is none. The line breaks around a block stay.
std::optional<std::string> RemoveBlocks(std::string_view file,
                                        const std::vector<std::string> &names);

/// `block` under another name. Throws std::invalid_argument for a name that no string can hold: one
/// with a line break, or not UTF-8, or empty.
std::string RenameBlock(std::string_view block, std::string_view new_name);

} // namespace vexo::smart
