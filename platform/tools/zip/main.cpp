// zip -q -0 -G -r -@ - : the archive of a download, from names on standard input to standard
// output.

#include "system/limits.h"
#include "system/log.h"
#include "zip/archive_names.h"
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fcntl.h>
#include <iostream>
#include <string>
#include <string_view>
#include <syslog.h>
#include <unistd.h>

namespace {

constexpr int kUsage = 2, kBroken = 1;
constexpr int kPipeBytes = 1 << 20;
constexpr unsigned kMostLogLines = 200; ///< of the songs that are left out

/// Whether the command line is the one this tool serves: quiet, stored (-0), guarded (-G), names
/// from standard input (-@), to standard output. -r changes nothing, as no folder passes the guard.
bool IsServed(int argc, char **argv) {
  std::string needed = "0G@";
  for (int option; (option = getopt(argc, argv, "q0Gr@")) != -1;) {
    if (option == '?') {
      return false;
    }
    std::erase(needed, static_cast<char>(option));
  }
  return needed.empty() && optind + 1 == argc && std::string_view(argv[optind]) == "-";
}

int Archive() {
  try {
    const char *user = std::getenv("REMOTE_USER");
    vexo::zip::ArchiveNames(std::cin, STDOUT_FILENO, user == nullptr ? "" : user);
    return 0;
  } catch (const std::exception &error) {
    vexo::system::LogFailure("zip", error.what());
    return kBroken;
  }
}

} // namespace

int main(int argc, char **argv) {
  if (!IsServed(argc, argv)) {
    std::fputs("usage: zip -q -0 -G -r -@ -\n", stderr);
    return kUsage;
  }
  openlog("zip", LOG_PERROR | LOG_PID, LOG_USER);
  vexo::system::BoundLog(kMostLogLines);
  // The request that started it has limits of its own; this takes as long as the songs are large.
  vexo::system::LiftCpuLimit();
  // A reader that went away is a failed write, whatever was inherited.
  std::signal(SIGPIPE, SIG_IGN);
  std::ios::sync_with_stdio(false);
  // Larger hand-overs; a pipe that cannot grow serves as it is.
  static_cast<void>(fcntl(STDOUT_FILENO, F_SETPIPE_SZ, kPipeBytes));
  return Archive();
}
