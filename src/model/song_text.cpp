#include "model/log_line.h"
#include "model/parse_json.h"
#include "model/song_json.h"

bool GetSongsByText(const char *text, SongList &songs, int *count) {
  Json::Value elements;
  if (!ParseJson(text, elements)) {
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
