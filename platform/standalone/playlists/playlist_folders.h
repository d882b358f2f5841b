#pragma once
// Playlist files are read, made, moved, rewritten and removed only inside the three kinds of
// playlists folders: of the shared library, of personal libraries, of preference folders. What
// decides is the real path of a file's folder, so neither ".." nor a link leads out; for reading,
// it is the real path of the file itself, once it is open.

#include "accounts/accounts.h"
#include <stdexcept>
#include <string>
#include <vector>

namespace vexo::playlists {

class OutsideError : public std::runtime_error {
public:
  explicit OutsideError(const std::string &path)
      : std::runtime_error("not in a playlists folder: " + path) {}
};

/// Throws OutsideError unless the file lies in the playlists folder of the library of `owner`.
void RequireInLibrary(int owner, const std::string &path);

/// Throws OutsideError unless the file lies in any playlists folder. While a request is served, the
/// folders of other users than its own do not count.
void RequireInPlaylistsFolder(const std::string &path);

/// The accounts whose folders count: that of the request's user, or all outside of a request.
std::vector<accounts::Account> AccountsThatCount();

/// Whether the folder with that real path lies in any playlists folder that counts.
bool IsInPlaylistsFolder(const std::string &real_folder);

/// Throws OutsideError unless the file lies in the folder `folder` itself.
void RequireInFolder(const std::string &folder, const std::string &path);

} // namespace vexo::playlists
