#pragma once
// Lists of entity tags (RFC 9110, 8.8.3), as If-Match holds one.

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vexo::web {

struct EntityTags {
  bool any = false;                ///< "*"
  std::vector<std::string> strong; ///< without quotes; weak tags match nothing and are left out
};

/// Nothing for a text of any other form.
std::optional<EntityTags> ParseEntityTags(std::string_view field);

} // namespace vexo::web
