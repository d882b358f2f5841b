#pragma once
#include "playlistctl/scan/output.h"
#include <chrono>
#include <cstddef>

namespace vexo::tools {

struct DoctorOptions {
  bool repair = false;
  /// What may only be a request at work is looked at again after this.
  std::chrono::milliseconds settled{500};
};

/// Looks for everything that crashes, or files moved by hand, leave wrong. How many findings
/// remain. Throws when it cannot work at all, as when the index cannot be opened.
std::size_t ExamineHost(const DoctorOptions &options, Output &output);

} // namespace vexo::tools
