#pragma once
// Albums, artists, folders, ... as lists show them. What is not known is left out.

#include "catalog/browse.h"
#include <json/json.h>

namespace vexo::api {

Json::Value AlbumJson(const index::Group &album);
/// An artist, genre, composer or year.
Json::Value NameJson(const index::Group &name);
/// Its last part; empty for the folder of the library itself.
std::string NameOfFolder(const index::Group &folder, const catalog::Library &library);
Json::Value FolderJson(const index::Group &folder, const catalog::Library &library);

/// "shared" or "personal".
const char *LibraryName(int owner);

} // namespace vexo::api
