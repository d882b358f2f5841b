#pragma once
// From a list of names to an archive of those files that may leave the machine.

#include <iosfwd>
#include <string>

namespace vexo::zip {

/// Archives the files that `names` has, one a line, to the descriptor `output`, in that order, each
/// once. Names lead from the current folder; links are followed. What is not there, or no regular
/// file of the shared library or of the personal library of the account `user`, is left out, but
/// for the two playlists that a download makes in the current folder. Backslashes and colons in
/// names become "_", in the playlists as well. Throws std::system_error or std::runtime_error when
/// anything else than that is in the way, with the archive left without its central directory.
void ArchiveNames(std::istream &names, int output, const std::string &user);

} // namespace vexo::zip
