#pragma once
#include "index/media_index.h"
#include "playlistctl/scan/library.h"
#include "playlistctl/scan/output.h"
#include "playlistctl/scan/tag_processes.h"
#include <chrono>
#include <cstddef>
#include <string>

namespace vexo::tools {

struct ScanOptions {
  TagProcesses tags;
  /// Forgets the songs of a library that holds none any more, instead of taking it for one that is
  /// not mounted.
  bool forget_all = false;
  /// How long a playlist file must have been left alone before it is given a row: the program that
  /// made it may be about to do that.
  std::chrono::seconds grace_period{1};
};

struct ScanResult {
  std::size_t added = 0, changed = 0, moved = 0, gone = 0, unchanged = 0, unreadable = 0;
  std::size_t playlists_added = 0, playlists_renamed = 0;
  bool complete = true; ///< false: the library was not there, and nothing of it was forgotten
};

/// Brings the songs of a library up to date in the index, and the rows of playlists with their
/// files. A song that moved or was renamed inside the library keeps its id. Throws IndexError.
ScanResult ScanLibrary(index::MediaIndex &index, const Library &library, const ScanOptions &options,
                       Output &output);

/// "3 new, 1 changed, ...": one line.
std::string Summary(const ScanResult &result);

} // namespace vexo::tools
