#pragma once
#include "files/file_descriptor.h"
#include <string>
#include <string_view>

namespace vexo::accounts {

/// Opens a song that may leave the machine (see SendableSongFile) for reading. What is tested is
/// the file that is then read, wherever its name leads by the time. None, and errno as open() sets
/// it, when it is not there; none, EACCES and a log line that names `purpose`, when it is no
/// regular file of the user's libraries. Throws std::system_error when it is there and cannot be
/// opened, or when that cannot be told.
files::FileDescriptor OpenSendableSong(const std::string &path, std::string_view user,
                                       const char *purpose);

} // namespace vexo::accounts
