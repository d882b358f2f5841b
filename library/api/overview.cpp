// What there is, for a client that begins.
#include "api/resources.h"
#include "catalog/libraries.h"
#include "media/transcoder.h"

namespace vexo::api {

Answer Overview(Request &request) {
  Json::Value document(Json::objectValue);
  document["user"] = request.User().name;
  Json::Value &libraries = document["libraries"] = Json::Value(Json::arrayValue);
  for (const catalog::Library &library : catalog::LibrariesOf(request.User())) {
    libraries.append(std::string(library.name));
  }
  document["transcoding"] = media::CanTranscode();
  return JsonAnswer(document);
}

} // namespace vexo::api
