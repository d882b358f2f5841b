#include "web/send_file.h"

#include "accounts/song_file.h"
#include "system/limits.h"
#include "system/log.h"
#include "web/browser.h"
#include "web/output.h"
#include "web/request.h"
#include "web/send_body.h"
#include "web/send_headers.h"
#include "web/send_stream.h"
#include <cerrno>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <sys/wait.h>

namespace vexo::web {
namespace {

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
  const std::optional<std::string> begin = ReadAhead(fileno(stream), kStreamAheadBytes);
  if (!begin || begin->size() == kStreamAheadBytes) {
    return CutUnless(begin &&
                     SendLongStream(attachment, rest, *begin, fileno(stream), WriterEndedWell));
  }
  if (!WriterEndedWell()) {
    PrintServerError();
    return false;
  }
  return CutUnless(WriteAnswer(attachment + rest + *begin));
}

} // namespace vexo::web
