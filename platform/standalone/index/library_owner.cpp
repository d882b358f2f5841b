#include "index/library_owner.h"

#include <stdexcept>
#include <string>
#include <string_view>

namespace vexo::index {

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

} // namespace vexo::index
