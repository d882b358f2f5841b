#include "playlistctl/move_index.h"

#include "index/move.h"
#include "index/scan_state.h"
#include "playlistctl/open_index.h"
#include "playlistctl/scan/output.h"
#include "system/paths.h"
#include <iostream>
#include <memory>
#include <stdexcept>
#include <unistd.h>

namespace vexo::tools {

void MoveIndex(const std::string &url) {
  // A scan would write what is not copied any more.
  const index::ScanLock lock;
  if (!lock.IsHeld()) {
    throw std::runtime_error("a scan is at work");
  }
  const std::unique_ptr<index::MediaIndex> from =
      index::OpenIndexAt(index::MediaIndexUrl(), index::kToolPatience);
  const std::unique_ptr<index::MediaIndex> to = OpenIndex(url);
  StreamOutput output(std::cout, TerminalColumns(STDOUT_FILENO));
  index::CopyIndex(*from, *to, [&](const std::string &table, int64_t done, int64_t all) {
    output.Progress(table, static_cast<std::size_t>(done), static_cast<std::size_t>(all));
  });
  output.Line(std::string("Everything is copied and compared. To use it, write into ") +
              system::kConfigFile + ":\n[index]\nurl = " + url);
}

} // namespace vexo::tools
