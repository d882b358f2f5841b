// HTTPFileOutputer of vexo/web.h.
#include "accounts/song_file.h"
#include "host/guard.h"
#include "system/limits.h"
#include "system/log.h"
#include "vexo/web.h"
#include "web/browser.h"
#include "web/output.h"
#include "web/request.h"
#include "web/send_body.h"
#include "web/send_headers.h"
#include <cerrno>
#include <cstring>
#include <sys/stat.h>

using vexo::files::FileDescriptor;
using vexo::host::Guarded;
namespace web = vexo::web;

namespace {

constexpr int kSent = 0, kFailed = -1;

std::string_view BaseName(std::string_view path) { return path.substr(path.rfind('/') + 1); }

/// The browsers of type 0 leave Content-Disposition to the host; for the others the program has
/// printed what they understand.
bool WantsAttachmentHeader() {
  _tag_vexo_browser_info_ browser{};
  web::BrowserFromUserAgent(web::Variable("HTTP_USER_AGENT").value_or(""), &browser);
  return browser.type == 0;
}

/// The result of a body behind its header; one that broke off ends the answer.
int Ended(bool sent) {
  if (!sent) {
    web::CutAnswer();
  }
  return sent ? kSent : kFailed;
}

int SendFile(const char *path, const char *content_type) {
  const FileDescriptor file = vexo::accounts::OpenSendableSong(
      path, web::Variable("REMOTE_USER").value_or(""), "HTTPFileOutputer");
  struct stat status {};
  if (!file || fstat(file.get(), &status) != 0) {
    const int cause = errno;
    vexo::system::LogFailure("a song is not sent",
                             (std::string(path) + ": " + std::strerror(cause)).c_str());
    return kFailed;
  }
  const web::BrokenPipeIgnored ignored;
  vexo::system::LiftCpuLimit();
  const auto size = static_cast<uint64_t>(status.st_size);
  return Ended(web::WriteAnswer(web::AttachmentHeader(BaseName(path)) +
                                "Content-Length: " + std::to_string(size) +
                                "\nAccept-Ranges: none\n" + web::TypeAndEnd(content_type)) &&
               (web::IsHead() || web::SendFileBody(file.get(), size)));
}

int SendStream(FILE *stream, const char *file_name, const char *content_type) {
  const web::BrokenPipeIgnored ignored;
  vexo::system::LiftCpuLimit();
  // The program has printed Accept-Ranges.
  const std::string attachment =
      WantsAttachmentHeader() ? web::AttachmentHeader(file_name) : std::string();
  return Ended(web::WriteAnswer(attachment + web::TypeAndEnd(content_type)) &&
               (web::IsHead() || web::SendPipeBody(fileno(stream))));
}

} // namespace

int HTTPFileOutputer::Output(const char *path, const char *contentType) {
  return Guarded(kFailed, [&] {
    return path == nullptr || contentType == nullptr ? kFailed : SendFile(path, contentType);
  });
}

int HTTPFileOutputer::Output(FILE *stream, const char *fileName, const char *contentType) {
  return Guarded(kFailed, [&] {
    return stream == nullptr || fileName == nullptr || contentType == nullptr
               ? kFailed
               : SendStream(stream, fileName, contentType);
  });
}
