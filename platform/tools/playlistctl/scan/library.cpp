#include "playlistctl/scan/library.h"

#include "accounts/accounts.h"
#include "accounts/libraries.h"
#include "system/paths.h"
#include <stdexcept>

namespace vexo::tools {

std::vector<Library> AllLibraries() {
  const std::optional<std::string> shared = accounts::SharedLibraryFolder();
  if (!shared) {
    throw std::runtime_error(std::string("no shared library: ") + system::kMusicLink +
                             " is not a link to a folder");
  }
  std::vector<Library> libraries = {{0, "shared", *shared}};
  for (const accounts::Account &account : accounts::ListAccounts()) {
    if (account.personal_library) {
      libraries.push_back({account.id, account.name, account.personal_folder});
    }
  }
  return libraries;
}

std::vector<Library> LibrariesNamed(const std::string &name) {
  std::vector<Library> libraries = AllLibraries();
  if (name.empty()) {
    return libraries;
  }
  for (const Library &library : libraries) {
    if (library.name == name) {
      return {library};
    }
  }
  throw std::runtime_error("no library of \"" + name + "\"");
}

std::string PlaylistsFolder(const Library &library) {
  return library.folder + system::kPlaylistsFolder;
}

} // namespace vexo::tools
