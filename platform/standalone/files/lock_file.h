#pragma once

namespace vexo::files {

/// The name of the file whose lock stands for that of its folder, where one is needed.
inline constexpr const char *kLockFile = ".vexo-lock";

/// Locks of folders have to hold on all machines that share them. NFS, SMB and FUSE share locks of
/// files, but a lock of a folder is known to its own machine alone. There, `fd` becomes a
/// descriptor of the folder's lock file, so that its lock is that of the folder for whoever goes on
/// with `fd`. Any other descriptor stays as it is. False, and errno tells why, when the file cannot
/// be opened.
bool LeadToLockFile(int fd) noexcept;

/// The same, on whatever file system the folder lies.
bool ReplaceByLockFile(int folder) noexcept;

} // namespace vexo::files
