// audio_library.cgi: answers one request to /api, and ends.
#include "api/router.h"
#include "system/limits.h"
#include "system/log.h"
#include "web/cut_short.h"
#include "web/output.h"
#include "web/request.h"
#include <exception>
#include <string_view>
#include <syslog.h>

using namespace vexo;

namespace {

constexpr unsigned kMostLogLines = 200;
constexpr std::string_view kFailure =
    "Status: 500 Internal Server Error\r\nContent-Type: application/problem+json\r\n"
    "Cache-Control: no-store\r\nX-Content-Type-Options: nosniff\r\n\r\n"
    "{\"type\":\"about:blank\",\"title\":\"Internal Server Error\",\"status\":500,"
    "\"detail\":\"The server failed; its log says why.\"}\n";

void AnswerRequest() {
  std::string_view path = web::Variable("PATH_INFO").value_or("");
  api::PrintAnswer(api::Dispatch(api::Routes(), web::Variable("REQUEST_METHOD").value_or("GET"),
                                 path.starts_with('/') ? path : "/",
                                 web::Variable("QUERY_STRING").value_or("")));
}

} // namespace

int main() {
  openlog("audio_library", LOG_PID | LOG_PERROR, LOG_USER);
  system::BoundLog(kMostLogLines);
  web::AnswerWhenCutShort(kFailure);
  try {
    system::LimitProcess();
    AnswerRequest();
  } catch (const std::exception &error) {
    system::LogFailure("a request to /api failed", error.what());
    if (!web::HasBegunToAnswer()) {
      web::WriteAnswer(kFailure);
    }
  }
  system::FlushLog();
}
