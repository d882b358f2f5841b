#include "web/cut_short.h"

#include "files/file_io.h"
#include "system/limits.h"
#include "web/output.h"
#include <csignal>
#include <cstdlib>
#include <exception>
#include <new>
#include <string_view>
#include <syslog.h>
#include <unistd.h>

namespace vexo::web {
namespace {

constexpr int kActionRan = 1;
constexpr std::string_view kAnswerOfAction =
    "Status: 500 Internal Server Error\r\n"
    "Content-Type: text/plain; charset=\"UTF-8\"\r\n"
    "Cache-Control: no-store\r\nX-Content-Type-Options: nosniff\r\n\r\n"
    "{\"error\":{\"key\":\"error_system\",\"line\":0,\"section\":\"common\"},\"success\":false}\n";

std::string_view last_answer = kAnswerOfAction;

/// What waits in the standard output's buffer is the beginning of an answer that does not come.
[[noreturn]] void End() {
  if (!HasBegunToAnswer()) {
    static_cast<void>(files::WriteAll(STDOUT_FILENO, last_answer));
  }
  _exit(kActionRan);
}

extern "C" void EndWithoutTime(int /*signal*/) {
  static_cast<void>(files::WriteAll(STDERR_FILENO,
                                    "a request has used up the CPU time that cpu_seconds in "
                                    "[limits] of the configuration gives it\n"));
  End();
}

void LogException() {
  if (!std::current_exception()) {
    syslog(LOG_ERR, "a request ended by std::terminate()");
    return;
  }
  try {
    throw;
  } catch (const std::bad_alloc &) {
    syslog(LOG_ERR, "%s", system::kMemoryUsedUp);
  } catch (const std::exception &error) {
    syslog(LOG_ERR, "a request ended by an exception: %s", error.what());
  } catch (...) {
    syslog(LOG_ERR, "a request ended by an exception");
  }
}

[[noreturn]] void EndWithException() {
  LogException();
  End();
}

} // namespace

void AnswerWhenCutShort(std::string_view answer) {
  if (!answer.empty()) {
    last_answer = answer;
  }
  std::signal(SIGXCPU, EndWithoutTime);
  std::set_terminate(EndWithException);
}

} // namespace vexo::web
