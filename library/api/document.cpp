// The description of the API.
#include "api/resources.h"
#include "files/file_io.h"
#include "playlists/version.h"
#include "system/paths.h"

namespace vexo::api {

Answer Document(Request & /*request*/) {
  std::optional<std::string> document = files::ReadWholeFile(system::kApiDocument);
  if (!document) {
    return ProblemAnswer(NotFound("The document is not installed."));
  }
  const std::string etag = MakeETag(playlists::ContentVersion(*document));
  if (std::optional<Answer> answer = NotModified(etag)) {
    return *std::move(answer);
  }
  return {.headers = "Cache-Control: private, no-cache\r\nETag: " + etag + "\r\n",
          .body = *std::move(document)};
}

} // namespace vexo::api
