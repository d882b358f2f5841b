#pragma once
#include "playlistctl/scan/output.h"
#include <chrono>
#include <cstddef>

namespace vexo::tools {

struct DoctorOptions {
  bool repair = false;
  /// Grace period: a finding that may be a request in progress is checked again after it.
  std::chrono::milliseconds grace_period{500};
};

/// Looks for everything that crashes, or files moved by hand, leave wrong. How many findings
/// remain. Throws when it cannot work at all, as when the index cannot be opened.
std::size_t ExamineHost(const DoctorOptions &options, Output &output);

} // namespace vexo::tools
