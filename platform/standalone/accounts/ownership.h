#pragma once

#include <string>

namespace vexo::accounts {

/// Gives what root has just made to whom the folder above belongs, so that the web server can use
/// it. Does nothing for other users. Throws std::system_error.
void InheritOwner(const std::string &path);

/// Makes an empty file where there is none, for the owner of its folder. Where it cannot, who uses
/// the file next says why.
void MakeFileIfMissing(const std::string &path);

/// Makes the folder of playlists in a library or preference folder, for its owner, before the
/// program would make it open to everybody; and only where the folder holds something, as an empty
/// one may be where a disk is not mounted.
void MakePlaylistsFolderIfMissing(const std::string &library);

} // namespace vexo::accounts
