#include "index/media_index.h"
#include "system/paths.h"

namespace vexo::index {

std::unique_ptr<MediaIndex> OpenMediaIndex() { return OpenSqliteIndex(system::kIndexFile); }

namespace {

/// Never closed: a process that ends lets go of its locks and its files by itself, and the log is
/// left to the next one either way. Closing it would keep the client of a request waiting.
std::unique_ptr<MediaIndex> &IndexOfThisProcess() {
  static auto *const index = new std::unique_ptr<MediaIndex>;
  return *index;
}

} // namespace

MediaIndex &ProcessIndex() {
  std::unique_ptr<MediaIndex> &index = IndexOfThisProcess();
  if (!index) {
    index = OpenMediaIndex();
  }
  return *index;
}

void SetProcessIndex(std::unique_ptr<MediaIndex> index) { IndexOfThisProcess() = std::move(index); }

} // namespace vexo::index
