#include "api/jspf.h"
#include "api/request.h"
#include "playlists/playlist_text.h"
#include <json/json.h>
#include <optional>

namespace vexo::api {
namespace {

using catalog::ForeignTrack;

std::string TextOf(const Json::Value &object, const char *name) {
  const Json::Value &value = object[name];
  return value.isString() ? value.asString() : "";
}

ForeignTrack TrackOf(const Json::Value &json) {
  constexpr double kPerSecond = 1000;
  ForeignTrack track{.location = {},
                     .title = TextOf(json, "title"),
                     .artist = TextOf(json, "creator"),
                     .album = TextOf(json, "album")};
  const Json::Value &location = json["location"];
  if (location.isArray() && !location.empty() && location[0].isString()) {
    track.location = location[0].asString();
  } else if (location.isString()) {
    track.location = location.asString();
  }
  if (json["duration"].isInt64() && json["duration"].asInt64() > 0) {
    track.duration_seconds = static_cast<double>(json["duration"].asInt64()) / kPerSecond;
  }
  return track;
}

} // namespace

std::vector<ForeignTrack> ParseJspf(const std::string &text) {
  const std::optional<Json::Value> document = ParseJson(text);
  const Json::Value none;
  const Json::Value &playlist = document && document->isObject() ? (*document)["playlist"] : none;
  if (!playlist.isObject() || !playlist["track"].isArray()) {
    throw catalog::ForeignError("no JSON object with a playlist that has tracks");
  }
  playlists::RequireRoom(playlist["track"].size());
  std::vector<ForeignTrack> tracks;
  for (const Json::Value &track : playlist["track"]) {
    if (!track.isObject()) {
      throw catalog::ForeignError("a track is no object");
    }
    tracks.push_back(TrackOf(track));
  }
  return tracks;
}

} // namespace vexo::api
