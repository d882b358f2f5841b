#pragma once
// The bytes of files. All functions throw std::system_error, with `name` in its text.

#include "files/temporary_file.h"
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <vector>

namespace vexo::files {

inline constexpr std::size_t kMaxFileBytes = std::size_t{1} << 30;

/// The whole file; nothing where there is none (ENOENT, ENOTDIR). Fails with EFBIG above
/// `max_bytes`, with EISDIR or EINVAL for what is no file.
std::optional<std::string> ReadWholeFile(const std::string &path,
                                         std::size_t max_bytes = kMaxFileBytes);
/// The same of an open descriptor, from its beginning on.
std::string ReadWholeFile(int fd, std::size_t max_bytes = kMaxFileBytes);

/// A content in pieces, in order: views of texts that somebody else keeps.
using Pieces = std::vector<std::string_view>;

struct stat Status(int fd, std::string_view name);

/// Those of a regular file; fails with EISDIR, EINVAL or, above `max_bytes`, with EFBIG.
struct stat StatusOfFile(int fd, std::string_view name, std::size_t max_bytes);

/// Reads up to `size` bytes from the beginning on; fewer at the end of the file.
std::size_t ReadAt(int fd, char *buffer, std::size_t size, std::string_view name);

/// Writes all pieces to an open file.
void Write(int fd, const Pieces &pieces, const Folder &folder);

/// Writes all of `bytes` to any descriptor; false, and errno says why, when it takes no more. A
/// signal's handler may call it.
[[nodiscard]] bool WriteAll(int fd, std::string_view bytes) noexcept;

/// Fills a temporary file, which will take its place in the folder.
void WriteAndSync(const TemporaryFile &file, const Pieces &pieces, const Folder &folder);

} // namespace vexo::files
