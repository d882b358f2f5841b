#include "web/output.h"

#include "files/file_io.h"
#include <csignal>
#include <cstdio>
#include <stdio_ext.h>
#include <unistd.h>

namespace vexo::web {
namespace {

volatile std::sig_atomic_t answered = 0;

} // namespace

OutputEnd::~OutputEnd() {
  std::signal(SIGTERM, SIG_IGN); // some servers end a program that is there behind its answer
  std::fflush(stdout);
  close(STDOUT_FILENO);
}

void MarkAnswered() noexcept { answered = 1; }

bool IsAnswered() noexcept { return answered != 0 || __fpending(stdout) > 0; }

bool HasBegunToAnswer() noexcept { return answered != 0; }

bool WriteAnswer(std::string_view bytes) noexcept {
  MarkAnswered();
  return std::fflush(stdout) == 0 && files::WriteAll(STDOUT_FILENO, bytes);
}

} // namespace vexo::web
