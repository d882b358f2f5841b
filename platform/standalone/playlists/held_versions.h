#pragma once
// Playlists that are to be removed or renamed as they are: their files stay locked from the look at
// their versions until this process ends, so that no edit comes between.

#include <cstdint>
#include <string>

namespace vexo::playlists {

/// Holds the playlist file at `path`, and gives its version. Throws VersionError when
/// RequireVersion() does, or when it is not there; and for a file outside of the playlists folders.
std::string HoldFile(const std::string &path);

/// The same of the playlist of a row, wherever a rename moves it meanwhile.
std::string HoldRowsFile(int owner, int32_t id);

/// Lets all go, as a test does that stands for a process of its own.
void ReleaseFiles() noexcept;

} // namespace vexo::playlists
