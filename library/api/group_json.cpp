#include "api/group_json.h"
#include "api/song_json.h"

namespace vexo::api {
namespace {

/// What groups of every kind tell.
Json::Value GroupJson(const index::Group &group, const std::string &name) {
  constexpr double kPerSecond = 1000;
  Json::Value json(Json::objectValue);
  json["id"] = group.id;
  json["library"] = LibraryName(group.owner);
  json["name"] = name;
  json["songs"] = Json::Int64{group.songs};
  json["duration"] = static_cast<double>(group.duration_ms) / kPerSecond;
  json["size"] = Json::Int64{group.size_bytes};
  AddNumber(json, "cover_song", group.cover_song);
  return json;
}

} // namespace

const char *LibraryName(int owner) { return owner == 0 ? "shared" : "personal"; }

Json::Value AlbumJson(const index::Group &album) {
  Json::Value json = GroupJson(album, album.name);
  AddText(json, "artist", album.artist);
  AddNumber(json, "artist_id", album.artist_id);
  AddNumber(json, "folder_id", album.parent_id);
  AddNumber(json, "discs", album.discs);
  AddNumber(json, "year", album.year_from);
  AddNumber(json, "year_to", album.year_to == album.year_from ? 0 : album.year_to);
  AddNumber(json, "added", album.time_added);
  if (album.compilation) {
    json["compilation"] = true;
  }
  return json;
}

Json::Value NameJson(const index::Group &name) {
  Json::Value json = GroupJson(name, name.name);
  json["albums"] = Json::Int64{name.albums};
  return json;
}

std::string NameOfFolder(const index::Group &folder, const catalog::Library &library) {
  const std::string path = catalog::PathInLibrary(folder, library);
  return path.substr(path.rfind('/') + 1);
}

Json::Value FolderJson(const index::Group &folder, const catalog::Library &library) {
  const std::string path = catalog::PathInLibrary(folder, library);
  Json::Value json = GroupJson(folder, NameOfFolder(folder, library));
  json["path"] = path;
  AddNumber(json, "parent_id", path.empty() ? 0 : folder.parent_id);
  return json;
}

} // namespace vexo::api
