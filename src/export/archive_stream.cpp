#include "export/archive_stream.h"

#include "export/archive_lists.h"
#include "export/download_headers.h"
#include "export/working_folder.h"
#include "model/answer.h"
#include "model/device_paths.h"
#include "model/field_text.h"
#include "model/log_line.h"
#include <csignal>
#include <cstdio>
#include <memory>

namespace {

struct PipeCloser {
  void operator()(FILE *stream) const { pclose(stream); }
};
using Pipe = std::unique_ptr<FILE, PipeCloser>;

std::string ZipCommand(const std::string &names) {
  return std::string(kCatTool) + " " + names + " | " + kZipTool + " -q -0 -G -r  -@ - ";
}

/// A server ends its program when the client is gone; this one ends by itself, and cleans up.
void IgnoreTermination() {
  if (signal(SIGTERM, SIG_IGN) == SIG_ERR) {
    LOG_LINE("Failed to signal()");
  }
}

bool SendStream(const std::string &command, const ArchiveOffer &offer, Json::Value &response) {
  const Pipe stream(popen(command.c_str(), "r"));
  if (!stream) {
    LOG_LINE("Failed to open pipe %s", command.c_str());
    ActionHandler::SetError(response, "error", "error_system_busy", __LINE__);
    return false;
  }
  PrintDownloadHeaders(&offer.browser, offer.file_name.c_str());
  return HTTPFileOutputer::Output(stream.get(), offer.file_name.c_str(), offer.content_type) == 0;
}

} // namespace

bool SendArchive(const VEXOPlaylistRec *songs, const ArchiveOffer &offer, Json::Value &response) {
  const WorkingFolder folder;
  if (!folder.IsMade()) {
    return LOG_AND_FAIL(response, "Failed to create a temp directory.");
  }
  std::string names;
  if (!WriteArchiveLists(songs, names)) {
    return SystemError(response);
  }
  IgnoreTermination();
  return SendStream(ZipCommand(names), offer, response);
}
