#pragma once
// Where the libraries lie, and what is inside them.

#include <optional>
#include <string>
#include <string_view>

namespace vexo::accounts {

/// The shared library's folder: the target of kMusicLink as it is written there. Nothing when there
/// is no such link. Throws std::system_error when it cannot be read.
std::optional<std::string> SharedLibraryFolder();

/// The library folder of an owner code (0: shared); nothing when there is none, or when the user's
/// personal library is off.
std::optional<std::string> LibraryFolder(int owner);

/// `path` after resolving links and dots; nothing when it does not exist.
std::optional<std::string> RealPath(const std::string &path);

/// Whether `path` is `folder` or lies below it; both resolved already.
bool IsWithin(std::string_view path, std::string_view folder);

/// The resolved path of a song file that may leave the machine: a regular file in the shared
/// library or in the personal library of the account `user`. Nothing for any other. Throws
/// std::system_error when a file that may be there cannot be reached.
std::optional<std::string> SendableSongFile(const std::string &path, std::string_view user);

} // namespace vexo::accounts
