#pragma once
#include "index/media_index.h"
#include <optional>
#include <string>
#include <string_view>

namespace vexo::tools {

/// A song as bytes for another process of this program; nothing as no bytes. What the index alone
/// knows (id, owner, rating, play count, time added) is left out.
std::string EncodeSong(const std::optional<index::Song> &song);
/// Throws std::runtime_error for bytes that EncodeSong() did not make.
std::optional<index::Song> DecodeSong(std::string_view bytes);

} // namespace vexo::tools
