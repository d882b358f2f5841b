#pragma once
#include "playlistctl/scan/output.h"
#include <string>
#include <vector>

namespace vexo::tools {

/// Keeps what is told.
class KeptOutput : public Output {
public:
  void Line(const std::string &text) override { lines.push_back(text); }
  void Progress(std::string_view, std::size_t done, std::size_t all) override {
    steps.emplace_back(done, all);
  }
  std::vector<std::string> lines;
  std::vector<std::pair<std::size_t, std::size_t>> steps;
};

} // namespace vexo::tools
