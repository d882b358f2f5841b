#pragma once
#include "index/media_index.h"
#include <cstddef>
#include <cstdint>
#include <vector>

namespace vexo::tools {

/// Removes songs from the index, in batches that requests need not wait for long.
void ForgetSongs(index::MediaIndex &index, const std::vector<int32_t> &ids);

/// Removes all that the index has of a user who is gone: the rows of the personal library, whose
/// files stay, and the marks; how many.
std::size_t ForgetUser(index::MediaIndex &index, int owner);

} // namespace vexo::tools
