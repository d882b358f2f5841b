#pragma once
#include "accounts/accounts.h"
#include "files/file_descriptor.h"
#include <optional>
#include <string>
#include <sys/stat.h>

namespace vexo::media {

/// A file of a library, open for reading, as it is now.
struct OpenFile {
  files::FileDescriptor file;
  struct stat status {};
};

/// Opens a song, or what lies beside one, as downloads do (accounts/song_file.h); nothing when it
/// is not there, or not of this user's libraries. `purpose` names the request in the log.
std::optional<OpenFile> OpenInLibraries(const std::string &path, const accounts::Account &user,
                                        const char *purpose);

/// Where an open file lies, whichever names led there; empty when that cannot be told.
std::string RealPathOf(const files::FileDescriptor &file);

} // namespace vexo::media
