#pragma once
#include <string>
#include <string_view>

namespace vexo::text {

/// Unicode simple case folding (statuses C and S of CaseFolding.txt). Bytes that are not UTF-8
/// stay.
std::string FoldCase(std::string_view text);

} // namespace vexo::text
