#include "api/playlist_json.h"
#include "api/song_json.h"
#include "system/log.h"

namespace vexo::api {

std::string_view NameOf(catalog::PlaylistKind kind) {
  switch (kind) {
  case catalog::PlaylistKind::kList:
    return "list";
  case catalog::PlaylistKind::kSmart:
    return "smart";
  case catalog::PlaylistKind::kRandom:
    break;
  }
  return "random";
}

Json::Value PlaylistJson(const catalog::Playlist &playlist) {
  constexpr int64_t kPerSecond = 1'000'000'000;
  Json::Value json(Json::objectValue);
  json["id"] = playlist.id;
  json["name"] = playlist.name;
  json["kind"] = std::string(NameOf(playlist.kind));
  json["library"] = playlist.is_personal ? "personal" : "shared";
  if (playlist.file.is_there) {
    json["changed"] = Json::Int64{playlist.file.modified_ns / kPerSecond};
  }
  AddText(json, "version", playlist.version);
  return json;
}

Json::Value ListJson(const catalog::Playlist &playlist,
                     const std::optional<catalog::ListFacts> &facts) {
  Json::Value json = PlaylistJson(playlist);
  if (!facts) {
    json[playlist.file.is_there ? "unreadable" : "missing"] = true;
    return json;
  }
  json["count"] = facts->entries;
  json["duration"] = 0;
  AddSeconds(json, "duration", facts->duration_seconds);
  json["size"] = Json::UInt64{facts->size_bytes};
  json["version"] = facts->version;
  return json;
}

Json::Value EntryJson(const catalog::ListEntry &entry) {
  Json::Value json(Json::objectValue);
  json["position"] = Json::UInt64{entry.position};
  json["path"] = entry.text;
  AddText(json, "title", entry.title);
  AddText(json, "artist", entry.artist);
  AddSeconds(json, "duration", entry.duration_seconds);
  return json;
}

Problem NoSuchPlaylist() { return {404, "There is no such playlist.", "playlist"}; }

Problem UnreadablePlaylist(const catalog::Playlist &playlist, const std::exception &why) {
  system::LogFailure(playlist.path.c_str(), why.what());
  return {409, "The playlist's file cannot be read as a list; the server's log says why.",
          "playlist"};
}

Problem RuleProblem(int status, const catalog::RuleError &error) {
  return {status, "The rule cannot be read: " + error.what + ".", "rule", error.line, error.column};
}

} // namespace vexo::api
