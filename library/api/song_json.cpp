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

Json::Value SongJson(const index::CatalogSong &song) {
  Json::Value json = SongJson(song.song);
  AddNumber(json, "album_id", song.groups.album);
  AddNumber(json, "artist_id", song.groups.artist);
  AddNumber(json, "album_artist_id", song.groups.album_artist);
  AddNumber(json, "genre_id", song.groups.genre);
  AddNumber(json, "folder_id", song.groups.folder);
  AddNumber(json, "added", song.song.time_added);
  return json;
}

namespace {

std::string PathInLibrary(const std::string &path, const catalog::Library &library) {
  const std::string top = library.folder.value_or("") + '/';
  return path.starts_with(top) ? path.substr(top.size()) : path.substr(path.rfind('/') + 1);
}

} // namespace

Json::Value WholeSongJson(const index::CatalogSong &song, const catalog::Library &library) {
  const index::Song &tags = song.song;
  Json::Value json = SongJson(song);
  AddText(json, "composer", tags.composer);
  AddNumber(json, "composer_id", song.groups.composer);
  AddText(json, "comment", tags.comment);
  json["path"] = PathInLibrary(tags.path, library);
  AddNumber(json, "bitrate", tags.bitrate);
  AddNumber(json, "sample_rate", tags.sample_rate);
  AddNumber(json, "channels", tags.channels);
  json["size"] = Json::UInt64{tags.size_bytes};
  AddNumber(json, "modified", tags.time_modified);
  if (tags.compilation) {
    json["compilation"] = true;
  }
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
