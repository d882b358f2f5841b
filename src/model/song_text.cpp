#include "model/log_line.h"
#include "model/song_json.h"

namespace {

/// Whether `text` is JSON. The parser throws where it is nested too deep.
bool Parse(const char *text, Json::Value &value) {
  try {
    return Json::Reader().parse(text, value, true);
  } catch (const Json::Exception &) {
    return false;
  }
}

} // namespace

bool GetSongsByText(const char *text, SongList &songs, int *count) {
  Json::Value elements;
  if (!Parse(text, elements)) {
    LOG_LINE("Failed to parse json.");
    return false;
  }
  if (!elements.isArray()) {
    LOG_LINE("id_info_list is not a Json array.");
    return false;
  }
  VEXOPlaylistRec *head = nullptr;
  const bool built = GetSongsByIdList(elements, &head);
  songs.reset(head);
  *count = static_cast<int>(elements.size());
  return built;
}
