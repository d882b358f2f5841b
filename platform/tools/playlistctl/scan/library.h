#pragma once
#include <string>
#include <vector>

namespace vexo::tools {

/// A library of songs and playlists.
struct Library {
  int owner = 0;      ///< as in the index
  std::string name;   ///< "shared", or the user's
  std::string folder; ///< as the link or the account names it
};

/// The shared library and every personal one that is on. Throws std::runtime_error when the shared
/// library's link cannot be read.
std::vector<Library> AllLibraries();

/// The libraries that a command line's `--library NAME` means; all for an empty name. Throws
/// std::runtime_error for a name that is none.
std::vector<Library> LibrariesNamed(const std::string &name);

/// The folder of a library's playlists.
std::string PlaylistsFolder(const Library &library);

} // namespace vexo::tools
