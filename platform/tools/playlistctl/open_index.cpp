#include "playlistctl/open_index.h"

#include "accounts/ownership.h"

namespace vexo::tools {

std::unique_ptr<index::MediaIndex> OpenIndex(const std::string &url) {
  if (const std::string file = index::IndexFileOf(url); !file.empty()) {
    accounts::MakeFileIfMissing(file);
  }
  return index::OpenIndexAt(url, index::kToolPatience);
}

} // namespace vexo::tools
