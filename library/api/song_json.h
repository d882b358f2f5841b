#pragma once
// A song as lists of songs show it.

#include "catalog/libraries.h"
#include "index/media_index.h"
#include <json/json.h>
#include <vector>

namespace vexo::api {

/// What is not known (a text that is empty, a number that is 0) is left out, but for the title.
Json::Value SongJson(const index::Song &song);
/// With the ids of its groups.
Json::Value SongJson(const index::CatalogSong &song);
/// With all its tags, and where it lies in the library.
Json::Value WholeSongJson(const index::CatalogSong &song, const catalog::Library &library);
Json::Value SongsJson(const std::vector<index::Song> &songs);

/// Adds a member where there is something to tell.
void AddText(Json::Value &object, const char *name, const std::string &text);
void AddNumber(Json::Value &object, const char *name, int64_t number);
/// Seconds, in thousandths.
void AddSeconds(Json::Value &object, const char *name, double seconds);

} // namespace vexo::api
