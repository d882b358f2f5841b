#pragma once
// The bytes of open files. All functions throw std::system_error, with `name` in its text.

#include "files/durable_file.h"
#include "files/folder.h"
#include <cstddef>
#include <string_view>
#include <sys/stat.h>

namespace vexo::files {

/// The most retries of an edit that lost a race. Each lost race is another writer's success, so a
/// working machine never gets there.
inline constexpr int kMaxEditAttempts = 10000;

struct stat Facts(int fd, std::string_view name);

/// Those of a regular file; fails with EISDIR, EINVAL or, above `max_bytes`, with EFBIG.
struct stat FactsOfFile(int fd, std::string_view name, std::size_t max_bytes);

/// Reads up to `size` bytes from the beginning on; fewer at the end of the file.
std::size_t ReadAt(int fd, char *buffer, std::size_t size, std::string_view name);

/// Writes all pieces to an open file.
void Write(int fd, const Pieces &pieces, const Folder &folder);

/// Fills a temporary file, which will take its place in the folder.
void WriteAndSync(const TemporaryFile &file, const Pieces &pieces, const Folder &folder);

} // namespace vexo::files
