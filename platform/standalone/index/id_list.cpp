#include "index/id_list.h"

#include "text/text.h"
#include <algorithm>
#include <optional>

namespace vexo::index {

std::vector<int32_t> ParseIds(std::string_view text) {
  std::vector<int32_t> ids;
  while (!text.empty()) {
    const std::size_t comma = std::min(text.find(','), text.size());
    const std::optional<int64_t> id = text::ParseInteger(text.substr(0, comma));
    if (id && *id > 0 && *id <= INT32_MAX) {
      ids.push_back(static_cast<int32_t>(*id));
    }
    text.remove_prefix(std::min(comma + 1, text.size()));
  }
  return ids;
}

} // namespace vexo::index
