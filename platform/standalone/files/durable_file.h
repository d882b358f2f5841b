#pragma once
// Files that are whole at any moment: every write goes to a temporary file in the same folder, is
// synced, and takes its place by a rename; then the folder is synced. Writers of one file are
// serialised by a lock on the file itself (its inode), which follows it through renames. A crash
// leaves the old file or the new one, and perhaps a temporary file, which IsTemporaryName() tells.
// All functions throw std::system_error.

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace vexo::files {

/// The whole file. Fails with EFBIG above `max_bytes`, with EISDIR or EINVAL for what is no file.
std::string ReadWholeFile(const std::string &path, std::size_t max_bytes = std::size_t{1} << 30);

/// Makes a new file; fails with EEXIST, and touches nothing, when `path` exists.
void CreateDurably(const std::string &path, std::string_view content, unsigned mode = 0666);

/// Makes the file, or puts the content in the place of the one that is there (with its mode kept).
void ReplaceDurably(const std::string &path, std::string_view content, unsigned mode = 0666);

/// Turns the old content into the new; nothing: leave the file as it is. May throw to give up.
using Edit = std::function<std::optional<std::string>(std::string_view old_content)>;

/// Reads, changes and replaces a file that exists, under its lock. Fails with ENOENT when it is gone
/// or was renamed meanwhile: the new content then exists nowhere, and no old name comes back.
void EditDurably(const std::string &path, const Edit &edit);

/// Whether a file name (no folders) is that of a temporary file a crash may have left.
bool IsTemporaryName(std::string_view name);

} // namespace vexo::files
