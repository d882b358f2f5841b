#pragma once
#include <string>

namespace vexo::tools {

/// Copies the index into an empty one, which a URL or a path names, with all ids; then it tells how
/// to use it. Throws index::IndexError.
void MoveIndex(const std::string &url);

} // namespace vexo::tools
