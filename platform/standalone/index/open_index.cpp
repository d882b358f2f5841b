#include "index/media_index.h"
#include "system/config.h"
#include "system/paths.h"
#include "system/shared_state.h"

#include <unistd.h>

namespace vexo::index {

std::unique_ptr<MediaIndex> OpenIndexAt(const std::string &url, std::chrono::seconds patience) {
  if (!system::IsServerUrl(url)) {
    return OpenSqliteIndex(url);
  }
#ifdef VEXO_HAS_POSTGRES
  return OpenPostgresIndex(url, patience);
#else
  (void)patience;
  throw IndexError("this program was built without a way to a PostgreSQL server");
#endif
}

std::string MediaIndexUrl() { return system::Setting("index", "url").value_or(system::kIndexFile); }

std::string IndexFileOf(const std::string &url) {
  return system::IsServerUrl(url) ? std::string() : url;
}

std::unique_ptr<MediaIndex> OpenMediaIndex() { return OpenIndexAt(MediaIndexUrl()); }

bool HasMediaIndex() {
  const std::string file = IndexFileOf(MediaIndexUrl());
  return file.empty() || access(file.c_str(), F_OK) == 0;
}

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
