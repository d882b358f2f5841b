#include "web/send_file.h"

#include "accounts/song_file.h"
#include "system/limits.h"
#include "system/log.h"
#include "web/browser.h"
#include "web/output.h"
#include "web/request.h"
#include "web/send_body.h"
#include "web/send_headers.h"
#include <cerrno>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <sys/wait.h>

namespace vexo::web {
namespace {

/// A stream that ends before is known to be whole, or not, before its headers go out. (And lighttpd
/// 1.4.69 does not pass on chunks that come together with the headers.)
constexpr std::size_t kShortBytes = std::size_t{64} << 10U;

std::string_view BaseName(std::string_view path) { return path.substr(path.rfind('/') + 1); }

/// The browsers of type 0 leave Content-Disposition to the host; for the others the program has
/// printed what they understand.
bool WantsAttachmentHeader() {
  return BrowserFromUserAgent(Variable("HTTP_USER_AGENT").value_or("")).type == 0;
}

/// A body that broke off behind its header ends the answer.
bool CutUnless(bool sent) {
  if (!sent) {
    CutAnswer();
  }
  return sent;
}

/// Whether the program that wrote into a pipe, the only child of this process, has ended well; its
/// owner waits for it later. A pipe without such a program just ends.
bool WriterEndedWell() {
  siginfo_t ended{};
  int result = 0;
  do {
    result = waitid(P_ALL, 0, &ended, WEXITED | WNOWAIT);
  } while (result != 0 && errno == EINTR);
  return result != 0 || (ended.si_code == CLD_EXITED && ended.si_status == 0);
}

/// Whether a body of unknown length may go out as chunks, so that the client notices when it breaks
/// off. CGI leaves framing to the server, but lighttpd passes on that of a program.
bool CanSendChunks() {
  return Variable("SERVER_SOFTWARE").value_or("").starts_with("lighttpd/") &&
         Variable("SERVER_PROTOCOL") == "HTTP/1.1";
}

/// Sends a stream behind its `begin` as chunks; without a last one when its writer failed.
bool SendAsChunks(const std::string &begin, int pipe) {
  return WriteAnswer(ChunkHead(begin.size()) + begin + "\r\n") && SendPipeAsChunks(pipe) &&
         WriterEndedWell() && WriteAnswer("0\r\n\r\n");
}

/// Where a stream of unknown length breaks off, the client notices only by chunks.
bool SendLong(const std::string &headers, const std::string &rest, const std::string &begin,
              int pipe) {
  if (CanSendChunks()) {
    return WriteAnswer(headers + "Transfer-Encoding: chunked\n" + rest) &&
           SendAsChunks(begin, pipe);
  }
  return WriteAnswer(headers + rest + begin) && SendPipeBody(pipe) && WriterEndedWell();
}

} // namespace

void PrintServerError() { std::fputs("Status: 500 Internal Server Error\n", stdout); }

bool SendFile(const char *path, const char *content_type) {
  const files::FileDescriptor file =
      accounts::OpenSendableSong(path, Variable("REMOTE_USER").value_or(""), "HTTPFileOutputer");
  struct stat status {};
  if (!file || fstat(file.get(), &status) != 0) {
    const int cause = errno;
    system::LogFailure("a song is not sent",
                       (std::string(path) + ": " + std::strerror(cause)).c_str());
    return false;
  }
  const BrokenPipeIgnored ignored;
  system::LiftCpuLimit();
  const auto size = static_cast<uint64_t>(status.st_size);
  return CutUnless(WriteAnswer(AttachmentHeader(BaseName(path)) +
                               "Content-Length: " + std::to_string(size) +
                               "\nAccept-Ranges: none\n" + TypeAndEnd(content_type)) &&
                   (IsHead() || SendFileBody(file.get(), size)));
}

bool SendStream(FILE *stream, const char *file_name, const char *content_type) {
  const BrokenPipeIgnored ignored;
  system::LiftCpuLimit();
  // The program has printed Accept-Ranges.
  const std::string attachment =
      WantsAttachmentHeader() ? AttachmentHeader(file_name) : std::string();
  const std::string rest = TypeAndEnd(content_type);
  if (IsHead()) {
    return CutUnless(WriteAnswer(attachment + rest));
  }
  const std::optional<std::string> begin = ReadAhead(fileno(stream), kShortBytes);
  if (!begin || begin->size() == kShortBytes) {
    return CutUnless(begin && SendLong(attachment, rest, *begin, fileno(stream)));
  }
  if (!WriterEndedWell()) {
    PrintServerError();
    return false;
  }
  return CutUnless(WriteAnswer(attachment + rest + *begin));
}

} // namespace vexo::web
