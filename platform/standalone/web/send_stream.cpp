#include "web/send_stream.h"

#include "web/output.h"
#include "web/request.h"
#include "web/send_body.h"

namespace vexo::web {
namespace {

/// Whether a body of unknown length may go out as chunks, so that the client notices when it breaks
/// off. CGI leaves framing to the server, but lighttpd passes on that of a program.
bool CanSendChunks() {
  return Variable("SERVER_SOFTWARE").value_or("").starts_with("lighttpd/") &&
         Variable("SERVER_PROTOCOL") == "HTTP/1.1";
}

/// Sends a stream behind its `begin` as chunks; without a last one when its writer failed.
bool SendAsChunks(std::string_view begin, int pipe, const std::function<bool()> &ended_well) {
  return WriteAnswer(ChunkHead(begin.size()) + std::string(begin) + "\r\n") &&
         SendPipeAsChunks(pipe) && ended_well() && WriteAnswer("0\r\n\r\n");
}

} // namespace

bool SendLongStream(const std::string &headers, const std::string &rest, std::string_view begin,
                    int pipe, const std::function<bool()> &ended_well) {
  if (CanSendChunks()) {
    return WriteAnswer(headers + "Transfer-Encoding: chunked\n" + rest) &&
           SendAsChunks(begin, pipe, ended_well);
  }
  return WriteAnswer(headers + rest) && WriteAnswer(begin) && SendPipeBody(pipe) && ended_well();
}

} // namespace vexo::web
