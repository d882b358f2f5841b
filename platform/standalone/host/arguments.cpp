#include "host/arguments.h"

#include "text/numbers.h"
#include <algorithm>
#include <cstring>
#include <optional>
#include <string>

namespace vexo::host {

int LibraryOwner(const char *library, int user_id) {
  const std::string_view name = library == nullptr ? "" : library;
  if (name == "shared") {
    return 0;
  }
  if (name != "personal" || user_id <= 0) {
    throw std::invalid_argument("no library \"" + std::string(name) + "\" of user " +
                                std::to_string(user_id));
  }
  return user_id;
}

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

bool CopyOut(const char *text, char *buffer, int size) noexcept {
  const std::size_t length = std::strlen(text);
  if (size <= 0 || length >= static_cast<std::size_t>(size)) {
    return false;
  }
  std::memcpy(buffer, text, length + 1);
  return true;
}

} // namespace vexo::host
