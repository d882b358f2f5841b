#pragma once
#include "index/media_index.h"
#include <optional>
#include <string>

namespace vexo::tools {

/// What the file's tags and audio properties tell; the title is the file's name when there is none.
/// Nothing when the file is no audio that can be read. Texts are valid UTF-8 in one line, and
/// bounded. Throws std::runtime_error when the file cannot be opened or read.
std::optional<index::Song> ReadTags(const std::string &path);

/// A tag's text as the index keeps it.
std::string CleanText(const std::string &bytes);

} // namespace vexo::tools
