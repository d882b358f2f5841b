#pragma once
#include "playlistctl/scan/output.h"
#include <cstddef>
#include <functional>
#include <string>

namespace vexo::tools {

/// What is not as it should be: says each finding in one line and, when told to repair, mends it.
class Findings {
public:
  Findings(Output &output, bool repair) : output_(output), repair_(repair) {}

  /// `mend` throws when it cannot.
  void Found(const std::string &what, const std::function<void()> &mend);
  /// Something that is mended where it can be done at no cost, but is no sign of damage.
  void Warn(const std::string &what, const std::function<void()> &mend);

  /// Findings that are still there.
  [[nodiscard]] std::size_t open() const { return open_; }

private:
  bool Mend(const std::string &what, const std::function<void()> &mend);
  Output &output_;
  const bool repair_;
  std::size_t open_ = 0;
};

} // namespace vexo::tools
