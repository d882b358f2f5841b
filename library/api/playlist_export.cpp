#include "api/playlist_export.h"
#include "api/song_json.h"
#include "playlists/version.h"
#include "system/config.h"
#include "text/code_page.h"
#include "web/answer.h"
#include "web/send_headers.h"
#include <algorithm>
#include <array>
#include <cmath>

namespace vexo::api {
namespace {

using ExportedSongs = std::vector<catalog::ExportedSong>;

std::string InCodePage(const std::string &utf8) {
  return text::FromUtf8(system::HostCodePage(), utf8).value_or(utf8);
}

Json::Value TrackJson(const catalog::ExportedSong &song) {
  constexpr double kMilliseconds = 1000;
  Json::Value track(Json::objectValue);
  track["location"].append(catalog::UriOf(song));
  AddText(track, "title", song.title);
  AddText(track, "creator", song.artist);
  AddText(track, "album", song.album);
  AddNumber(track, "trackNum", song.track);
  AddNumber(track, "duration", std::llround(song.duration_seconds * kMilliseconds));
  return track;
}

/// The JSON form of XSPF.
std::string ToJspf(const ExportedSongs &songs, const std::string &title) {
  Json::Value document(Json::objectValue);
  document["playlist"]["title"] = title;
  Json::Value &tracks = document["playlist"]["track"] = Json::Value(Json::arrayValue);
  for (const catalog::ExportedSong &song : songs) {
    tracks.append(TrackJson(song));
  }
  return web::ToJson(document);
}

struct Format {
  std::string_view name;
  const char *type;
  std::string (*write)(const ExportedSongs &songs, const std::string &title);
};

constexpr std::array kFormats = {
    Format{"m3u8", "application/vnd.apple.mpegurl",
           [](const ExportedSongs &songs, const std::string &) { return catalog::ToM3u(songs); }},
    Format{"m3u", "audio/x-mpegurl",
           [](const ExportedSongs &songs, const std::string &) {
             return InCodePage(catalog::ToM3u(songs));
           }},
    Format{"pls", "audio/x-scpls",
           [](const ExportedSongs &songs, const std::string &) { return catalog::ToPls(songs); }},
    Format{"xspf", "application/xspf+xml",
           [](const ExportedSongs &songs, const std::string &title) {
             return catalog::ToXspf(songs, title);
           }},
    Format{"jspf", "application/jspf+json", ToJspf},
};

} // namespace

Answer ExportAnswer(const ExportedSongs &songs, const std::string &name, std::string_view format) {
  const auto *const known = std::find_if(kFormats.begin(), kFormats.end(),
                                         [&](const Format &f) { return f.name == format; });
  std::string body = known->write(songs, name);
  const std::string etag = MakeETag(playlists::ContentVersion(body));
  if (std::optional<Answer> answer = NotModified(etag)) {
    return *std::move(answer);
  }
  return {.headers = "Cache-Control: private, no-cache\r\nETag: " + etag + "\r\n" +
                     web::AttachmentHeader(name + "." + std::string(format)),
          .content_type = known->type,
          .body = std::move(body)};
}

} // namespace vexo::api
