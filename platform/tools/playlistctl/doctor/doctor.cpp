#include "playlistctl/doctor/doctor.h"

#include "accounts/accounts.h"
#include "playlistctl/doctor/findings.h"
#include "playlistctl/doctor/leftovers.h"
#include "playlistctl/doctor/playlist_check.h"
#include "playlistctl/open_index.h"
#include "playlistctl/scan/forget_library.h"
#include "system/paths.h"
#include <memory>
#include <stdexcept>
#include <string>

namespace vexo::tools {
namespace {

constexpr const char *kAdvice = "put a copy of the index in its place, or move it away and scan";

void CheckIndex(index::MediaIndex &index, Findings &findings) {
  bool repaired = false;
  for (const std::string &damage : index.FindDamage()) {
    findings.Found("index: " + damage, [&] {
      if (!repaired) {
        index.RepairDamage();
        repaired = true;
      }
      if (!index.FindDamage().empty()) {
        throw std::runtime_error(kAdvice);
      }
    });
  }
}

/// Their rows are found by no request, but what they say of files stands in the way of what the
/// libraries of today say.
void CheckRemovedAccounts(index::MediaIndex &index, Findings &findings) {
  for (const int id : accounts::RemovedAccountIds()) {
    if (!index.SongFiles(id).empty() || !index.AllPlaylists(id).empty() ||
        index.ListMarks(id, false, {}).total > 0) {
      findings.Found("the index has rows of the account " + std::to_string(id) + ", which is gone",
                     [&] { ForgetUser(index, id); });
    }
  }
}

/// Nothing when it cannot be opened, which is a finding.
std::unique_ptr<index::MediaIndex> IndexOrFinding(Findings &findings) {
  try {
    std::unique_ptr<index::MediaIndex> index = tools::OpenIndex();
    (void)index->Revision(); // a server is asked first
    return index;
  } catch (const index::IndexError &error) {
    findings.Found(std::string("index: ") + error.what(),
                   [] { throw std::runtime_error(kAdvice); });
    return nullptr;
  }
}

} // namespace

std::size_t ExamineHost(const DoctorOptions &options, Output &output) {
  Findings findings(output, options.repair);
  if (const std::unique_ptr<index::MediaIndex> index = IndexOrFinding(findings)) {
    CheckIndex(*index, findings);
    CheckRemovedAccounts(*index, findings);
    for (const Library &library : AllLibraries()) {
      CheckPlaylists(*index, library, options.grace_period, findings, output);
    }
  }
  CheckTemporaryFiles(FoldersOfWriters(), findings);
  CheckWorkingFolders(system::kTemporary, options.grace_period, findings);
  return findings.open();
}

} // namespace vexo::tools
