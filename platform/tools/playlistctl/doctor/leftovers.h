#pragma once
// What processes that were killed have left behind.

#include "playlistctl/doctor/findings.h"
#include <chrono>
#include <string>
#include <vector>

namespace vexo::tools {

/// Temporary files of writers that are gone, in `folders` and, where `deep`, everything below them.
struct TemporaryFolder {
  std::string folder;
  bool deep = false;
};
void CheckTemporaryFiles(const std::vector<TemporaryFolder> &folders, Findings &findings);

/// The working directories of downloads in `folder` that no process works in. A download makes its
/// directory a moment before it enters it, so they are looked at twice, `grace_period` apart.
void CheckWorkingFolders(const std::string &folder, std::chrono::milliseconds grace_period,
                         Findings &findings);

/// Every folder that files are written to durably.
std::vector<TemporaryFolder> FoldersOfWriters();

} // namespace vexo::tools
