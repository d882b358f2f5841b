#pragma once
#include "index/media_index.h"
#include <cstdint>
#include <functional>
#include <string>

namespace vexo::index {

/// How many rows of a table have been copied, and how many there are.
using MoveProgress = std::function<void(const std::string &table, int64_t done, int64_t all)>;

/// Copies all that an index holds into an empty one, with every id, also of another engine. What
/// was copied is read again and compared with what it was copied from. In one transaction: a throw
/// leaves the target empty. Throws IndexError.
void CopyIndex(MediaIndex &from, MediaIndex &to, const MoveProgress &progress);

} // namespace vexo::index
