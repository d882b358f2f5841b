#include "doctor/doctor.h"

#include "doctor/findings.h"
#include "doctor/leftovers.h"
#include "doctor/playlist_check.h"
#include "services/host_paths.h"
#include <memory>
#include <stdexcept>

namespace vexo::tools {
namespace {

void CheckIndex(index::MediaIndex &index, Findings &findings) {
  bool repaired = false;
  for (const std::string &damage : index.FindDamage()) {
    findings.Found("index: " + damage, [&] {
      if (!repaired) {
        index.RepairDamage();
        repaired = true;
      }
      if (!index.FindDamage().empty()) {
        throw std::runtime_error("put a copy of the index in its place, or remove it and scan");
      }
    });
  }
}

} // namespace

std::size_t ExamineHost(const DoctorOptions &options, Output &output) {
  Findings findings(output, options.repair);
  const std::unique_ptr<index::MediaIndex> index = index::OpenMediaIndex();
  CheckIndex(*index, findings);
  for (const Library &library : AllLibraries()) {
    CheckPlaylists(*index, library, options.settled, findings, output);
  }
  CheckTemporaryFiles(FoldersOfWriters(), findings);
  CheckWorkingFolders(services::kTemporary, options.settled, findings);
  return findings.open();
}

} // namespace vexo::tools
