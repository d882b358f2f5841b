#include "catalog/libraries.h"
#include "accounts/libraries.h"

namespace vexo::catalog {

std::vector<Library> LibrariesOf(const accounts::Account &user) {
  std::vector<Library> libraries = {{"shared", 0, accounts::SharedLibraryFolder()}};
  if (user.personal_library) {
    libraries.push_back({"personal", user.id, user.personal_folder});
  }
  return libraries;
}

std::optional<int> OwnerOf(const accounts::Account &user, std::string_view library) {
  if (library == "shared") {
    return 0;
  }
  return library == "personal" && user.personal_library ? std::optional(user.id) : std::nullopt;
}

bool IsVisible(const accounts::Account &user, int owner) {
  return owner == 0 || (user.personal_library && owner == user.id);
}

} // namespace vexo::catalog
