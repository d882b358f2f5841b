#include "index/media_index.h"
#include "services/config.h"
#include "services/host_paths.h"

namespace vexo::index {

std::unique_ptr<MediaIndex> OpenMediaIndex() {
  const std::string engine = services::Setting("index", "engine").value_or("sqlite");
  if (engine != "sqlite") {
    throw IndexError("no index engine is called \"" + engine + "\"");
  }
  return OpenSqliteIndex(services::kIndexFile);
}

MediaIndex &ProcessIndex() {
  static const std::unique_ptr<MediaIndex> index = OpenMediaIndex();
  return *index;
}

} // namespace vexo::index
