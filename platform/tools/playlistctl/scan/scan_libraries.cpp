#include "playlistctl/scan/scan_libraries.h"

#include "accounts/ownership.h"
#include "files/file_descriptor.h"
#include "playlistctl/scan/scanner.h"
#include "playlistctl/scan/tags.h"
#include "system/paths.h"
#include <cerrno>
#include <fcntl.h>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <sys/file.h>
#include <thread>
#include <unistd.h>

namespace vexo::tools {
namespace {

/// Two scans at once would both take a moved song for their own.
files::FileDescriptor LockScans() {
  const std::string path = std::string(system::kIndexFile) + ".scan";
  accounts::MakeFileIfMissing(path);
  files::FileDescriptor lock(open(path.c_str(), O_RDWR | O_CLOEXEC));
  if (!lock) {
    throw std::system_error(errno, std::generic_category(), path);
  }
  if (flock(lock.get(), LOCK_EX | LOCK_NB) != 0) {
    throw std::runtime_error("another scan is at work");
  }
  return lock;
}

} // namespace

bool ScanLibraries(const std::string &name, bool forget_all) {
  const std::vector<Library> libraries = LibrariesNamed(name);
  accounts::MakeFileIfMissing(system::kIndexFile);
  const std::unique_ptr<index::MediaIndex> index = index::OpenMediaIndex();
  const files::FileDescriptor lock = LockScans();
  ScanOptions how;
  how.tags = {ReadTags, std::thread::hardware_concurrency()};
  how.forget_all = forget_all;
  bool complete = true;
  for (const Library &library : libraries) {
    StreamOutput output(std::cerr, TerminalColumns(STDERR_FILENO));
    const ScanResult result = ScanLibrary(*index, library, how, output);
    if (result.complete) {
      output.Line(library.name + ": " + Summary(result));
    }
    complete = complete && result.complete;
  }
  return complete;
}

} // namespace vexo::tools
