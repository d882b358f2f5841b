#include "playlistctl/scan_command.h"

#include "accounts/ownership.h"
#include "files/file_descriptor.h"
#include "scan/scanner.h"
#include "scan/tags.h"
#include "system/paths.h"
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <CLI/Option.hpp>
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

struct Options {
  std::string library;
  bool forget_all = false;
};

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

void Scan(const Options &options) {
  const std::vector<Library> libraries = LibrariesNamed(options.library);
  accounts::MakeFileIfMissing(system::kIndexFile);
  const std::unique_ptr<index::MediaIndex> index = index::OpenMediaIndex();
  const files::FileDescriptor lock = LockScans();
  ScanOptions how;
  how.tags = {ReadTags, std::thread::hardware_concurrency()};
  how.forget_all = options.forget_all;
  bool complete = true;
  for (const Library &library : libraries) {
    StreamOutput output(std::cerr, TerminalColumns(STDERR_FILENO));
    const ScanResult result = ScanLibrary(*index, library, how, output);
    if (result.complete) {
      output.Line(library.name + ": " + Summary(result));
    }
    complete = complete && result.complete;
  }
  if (!complete) {
    throw CLI::RuntimeError(1);
  }
}

} // namespace

void AddScanCommand(CLI::App &program) {
  const auto options = std::make_shared<Options>();
  CLI::App *const command =
      program.add_subcommand("scan", "Brings the index up to date with the files of the libraries");
  command->add_option("--library", options->library,
                      "Only this library: \"shared\", or a user's personal one");
  command->add_flag("--forget-all", options->forget_all,
                    "Forget the songs of a library that is empty, not only keep them");
  command->callback([options] { Scan(*options); });
}

} // namespace vexo::tools
