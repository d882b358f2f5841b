#include "index/media_index.h"
#include "system/paths.h"

namespace vexo::index {

std::unique_ptr<MediaIndex> OpenMediaIndex() { return OpenSqliteIndex(system::kIndexFile); }

namespace {

std::unique_ptr<MediaIndex> &IndexOfThisProcess() {
  static std::unique_ptr<MediaIndex> index;
  return index;
}

} // namespace

MediaIndex &ProcessIndex() {
  std::unique_ptr<MediaIndex> &index = IndexOfThisProcess();
  if (!index) {
    index = OpenMediaIndex();
  }
  return *index;
}

bool HasProcessIndex() { return IndexOfThisProcess() != nullptr; }

void SetProcessIndex(std::unique_ptr<MediaIndex> index) { IndexOfThisProcess() = std::move(index); }

} // namespace vexo::index
