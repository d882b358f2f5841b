#pragma once
#include <string>
#include <vector>

/// The list of texts of vexo/core.h.
struct VLIBCSzList {
  std::vector<std::string> texts;
};
