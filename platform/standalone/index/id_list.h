#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

namespace vexo::index {

/// The ids of a comma-separated text, in its order; what is no id is left out, as an id that is not
/// there.
std::vector<int32_t> ParseIds(std::string_view text);

} // namespace vexo::index
