#include "export/archive_stream.h"
#include "export/song_sources.h"
#include "handler/audio_playlist.h"
#include "model/answer.h"
#include "model/field_text.h"
#include "model/log_line.h"

namespace {

constexpr char kContentType[] = "application/force-download";

/// A browser that is not known is treated with the most care.
_tag_vexo_browser_info_ BrowserOf(const WebMan &request) {
  _tag_vexo_browser_info_ browser{};
  if (request.GetBrowserInfo(&browser) < 0) {
    browser.type = 1;
    SetField(browser.version, "7");
    syslog(LOG_ERR, "(%d): failed to get browser type ", __LINE__);
  }
  return browser;
}

/// One song that was chosen by itself goes out as it is.
bool SendSong(const VEXOPlaylistRec &song) {
  return HTTPFileOutputer::Output(song.info.path, kContentType) == 0;
}

/// Whether a body was sent; else `response` is to be printed.
bool Download(WebMan &request, Json::Value &response) {
  SongSource source(request);
  if (!source.IsGiven()) {
    return LOG_AND_FAIL(response, "Bad parameter.");
  }
  const std::string file_name = CutToField(request.In("filename", "audio.zip"), kPathSize);
  const _tag_vexo_browser_info_ browser = BrowserOf(request);
  if (!source.Load(response)) {
    return false;
  }
  if (source.IsSingleSong()) {
    return SendSong(*source.songs());
  }
  return SendArchive(source.songs(), {browser, file_name, kContentType}, response);
}

} // namespace

void PlaylistHandler::HandleDownload() {
  Json::Value response;
  if (!Download(Request(), response)) {
    PrintAnswer(response);
  }
}
