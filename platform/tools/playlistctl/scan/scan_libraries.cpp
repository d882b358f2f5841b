#include "playlistctl/scan/scan_libraries.h"

#include "index/scan_state.h"
#include "playlistctl/open_index.h"
#include "playlistctl/scan/scanner.h"
#include "playlistctl/scan/tags.h"
#include "system/paths.h"
#include <chrono>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <thread>
#include <unistd.h>

namespace vexo::tools {
namespace {

/// Tells the terminal, and those who ask for the scan's state, which is written a few times a
/// second.
class ScanOutput : public Output {
public:
  ScanOutput(index::ScanState &state, Output &terminal) : state_(state), terminal_(terminal) {}

  void Line(const std::string &text) override { terminal_.Line(text); }
  void Progress(std::string_view what, std::size_t done, std::size_t all) override {
    constexpr std::chrono::milliseconds kPause{200};
    terminal_.Progress(what, done, all);
    state_.files_read = static_cast<int64_t>(done);
    state_.files_to_read = static_cast<int64_t>(all);
    const auto now = std::chrono::steady_clock::now();
    if (now - written_ >= kPause) {
      index::WriteScanState(state_);
      written_ = now;
    }
  }

private:
  index::ScanState &state_;
  Output &terminal_;
  std::chrono::steady_clock::time_point written_{};
};

int64_t Now() { return std::chrono::system_clock::to_time_t(std::chrono::system_clock::now()); }

void Add(index::ScanState &state, const ScanResult &result) {
  state.added += static_cast<int64_t>(result.added);
  state.changed += static_cast<int64_t>(result.changed);
  state.moved += static_cast<int64_t>(result.moved);
  state.gone += static_cast<int64_t>(result.gone);
  state.unchanged += static_cast<int64_t>(result.unchanged);
  state.unreadable += static_cast<int64_t>(result.unreadable);
  state.complete = state.complete && result.complete;
}

/// Scans one library, and adds what it did to the state.
void Scan(index::MediaIndex &index, const Library &library, const ScanOptions &how,
          index::ScanState &state) {
  state.library = library.name;
  state.files_read = state.files_to_read = 0;
  index::WriteScanState(state);
  StreamOutput terminal(std::cerr, TerminalColumns(STDERR_FILENO));
  ScanOutput output(state, terminal);
  const ScanResult result = ScanLibrary(index, library, how, output);
  if (result.complete) {
    output.Line(library.name + ": " + Summary(result));
  }
  Add(state, result);
}

} // namespace

bool ScanLibraries(const std::string &name, bool forget_all) {
  const std::vector<Library> libraries = LibrariesNamed(name);
  const std::unique_ptr<index::MediaIndex> index = OpenIndex();
  // Two scans at once would both take a moved song for their own.
  const index::ScanLock lock;
  if (!lock.IsHeld()) {
    throw std::runtime_error("another scan is at work");
  }
  index->CompleteCatalog();
  index::ScanState state;
  state.started = Now();
  ScanOptions how;
  how.tags = {ReadTags, std::thread::hardware_concurrency()};
  how.forget_all = forget_all;
  for (const Library &library : libraries) {
    Scan(*index, library, how, state);
  }
  state.finished = Now();
  index::WriteScanState(state);
  return state.complete;
}

} // namespace vexo::tools
