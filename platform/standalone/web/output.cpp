#include "web/output.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <stdio_ext.h>
#include <unistd.h>

namespace vexo::web {
namespace {

volatile std::sig_atomic_t answered = 0;

} // namespace

void MarkAnswered() noexcept { answered = 1; }

bool IsAnswered() noexcept { return answered != 0 || __fpending(stdout) > 0; }

bool HasBegunToAnswer() noexcept { return answered != 0; }

bool WriteAnswer(std::string_view bytes) noexcept {
  MarkAnswered();
  if (std::fflush(stdout) != 0) {
    return false;
  }
  while (!bytes.empty()) {
    const ssize_t written = write(STDOUT_FILENO, bytes.data(), bytes.size());
    if (written < 0 && errno == EINTR) {
      continue;
    }
    if (written <= 0) {
      return false;
    }
    bytes.remove_prefix(static_cast<std::size_t>(written));
  }
  return true;
}

} // namespace vexo::web
