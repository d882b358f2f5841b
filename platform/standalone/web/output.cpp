#include "web/output.h"

#include "web/answered.h"
#include <cerrno>
#include <cstdio>
#include <stdio_ext.h>
#include <unistd.h>

namespace vexo::web {
namespace {

bool answered = false;

} // namespace

void MarkAnswered() noexcept { answered = true; }

bool IsAnswered() noexcept { return answered || __fpending(stdout) > 0; }

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
