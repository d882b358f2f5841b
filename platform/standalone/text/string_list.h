#pragma once
// The string list of vexo/core.h as the standalone platform keeps it.

#include <string>
#include <vector>

struct VLIBCSzList {
  std::vector<std::string> texts;
};
