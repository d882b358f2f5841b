// What there is, for a client that begins.
#include "api/resources.h"
#include "catalog/browse.h"
#include "catalog/players.h"
#include "media/transcoder.h"

namespace vexo::api {

namespace {

Json::Value LibraryJson(const catalog::Library &library) {
  constexpr double kPerSecond = 1000;
  const catalog::LibraryCounts counts = catalog::CountLibrary(library);
  Json::Value json(Json::objectValue);
  json["name"] = std::string(library.name);
  json["songs"] = Json::Int64{counts.songs};
  json["albums"] = Json::Int64{counts.albums};
  json["artists"] = Json::Int64{counts.artists};
  json["duration"] = static_cast<double>(counts.duration_ms) / kPerSecond;
  json["size"] = Json::Int64{counts.size_bytes};
  return json;
}

} // namespace

Answer Overview(Request &request) {
  constexpr const char *kVersion = "1"; // of this interface
  Json::Value document(Json::objectValue);
  document["version"] = kVersion;
  document["user"] = request.User().name;
  document["revision"] = Json::Int64{index::ProcessIndex().Revision()};
  Json::Value &libraries = document["libraries"] = Json::Value(Json::arrayValue);
  for (const catalog::Library &library : catalog::LibrariesOf(request.User())) {
    libraries.append(LibraryJson(library));
  }
  document["players"] = static_cast<int>(catalog::ConfiguredPlayers().size());
  document["transcoding"] = media::CanTranscode();
  return AnswerByContent(document);
}

} // namespace vexo::api
