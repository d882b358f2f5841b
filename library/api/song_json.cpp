#include "api/song_json.h"
#include <cmath>

namespace vexo::api {

void AddText(Json::Value &object, const char *name, const std::string &text) {
  if (!text.empty()) {
    object[name] = text;
  }
}

void AddNumber(Json::Value &object, const char *name, int64_t number) {
  if (number != 0) {
    object[name] = Json::Int64{number};
  }
}

void AddSeconds(Json::Value &object, const char *name, double seconds) {
  constexpr double kThousandths = 1000;
  if (seconds > 0) {
    object[name] = std::round(seconds * kThousandths) / kThousandths;
  }
}

Json::Value SongJson(const index::Song &song) {
  Json::Value json(Json::objectValue);
  json["id"] = song.id;
  json["library"] = song.owner == 0 ? "shared" : "personal";
  json["title"] = song.title;
  AddText(json, "artist", song.artist);
  AddText(json, "album", song.album);
  AddText(json, "album_artist", song.album_artist);
  AddText(json, "genre", song.genre);
  AddText(json, "type", song.type);
  AddNumber(json, "track", song.track);
  AddNumber(json, "disc", song.disc);
  AddNumber(json, "year", song.year);
  AddSeconds(json, "duration", song.duration_seconds);
  return json;
}

Json::Value SongsJson(const std::vector<index::Song> &songs) {
  Json::Value items(Json::arrayValue);
  for (const index::Song &song : songs) {
    items.append(SongJson(song));
  }
  return items;
}

} // namespace vexo::api
