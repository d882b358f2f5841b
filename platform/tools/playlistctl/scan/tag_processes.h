#pragma once
// Reads many files at once, each processor with a process of its own. Files come from anywhere, and
// what a broken one does to a tag reader happens to a process that can be spared: when it crashes
// or hangs, the file it was at counts as unreadable and the rest goes on in a new one.

#include "index/media_index.h"
#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace vexo::tools {

/// What one file tells; nothing when it cannot be read. Runs in a process of its own.
using TagFunction = std::function<std::optional<index::Song>(const std::string &path)>;

struct TagFailure {
  std::string why;
  bool may_pass = false; ///< another try may succeed, though the file is the same
};

/// Called for each file, in any order: its position, its song, and when there is none the reason.
using TagResult =
    std::function<void(std::size_t position, std::optional<index::Song> song, TagFailure failure)>;

struct TagProcesses {
  TagFunction read;
  unsigned processes = 1;
  std::chrono::milliseconds patience{60'000};      ///< for one file, which may lie far away
  std::chrono::milliseconds processor_time{3'000}; ///< for one file, which may be huge and empty
};

/// Reads all files; returns when each has had its result. Throws std::system_error when no process
/// can be made.
void ReadAllTags(const TagProcesses &how, const std::vector<std::string> &paths,
                 const TagResult &done);

} // namespace vexo::tools
