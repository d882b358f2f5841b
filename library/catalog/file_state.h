#pragma once
// What can be told of a file without opening it.

#include <cstdint>
#include <string>

namespace vexo::catalog {

/// Whoever changes a file changes this, but for a program that writes in place twice within one
/// tick of the kernel's clock.
struct FileState {
  bool is_there = false;
  bool is_link = false; ///< then all else is that of the link itself
  uint64_t device = 0, inode = 0, size_bytes = 0;
  int64_t modified_ns = 0, changed_ns = 0; ///< content and inode, since 1970
};

/// The state of what stands at `path`; of nothing when it cannot be found out.
FileState StateOfFile(const std::string &path);

/// Appends it to a text that tells states apart.
void AppendState(std::string &text, const FileState &state);

} // namespace vexo::catalog
