#pragma once
#include <cstdint>
#include <span>

namespace vexo::text {

/// Code points first, first + step, ... last, each of which folds to itself plus `distance`.
struct FoldingRange {
  uint32_t first;
  uint32_t last;
  uint32_t step;
  int32_t distance;
};

/// Simple case folding (statuses C and S of Unicode's CaseFolding.txt) beyond ASCII, in order.
std::span<const FoldingRange> FoldingRanges();

} // namespace vexo::text
