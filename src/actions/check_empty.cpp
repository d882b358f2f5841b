#include "handler/audio_playlist.h"
#include "model/answer.h"
#include "model/find_playlist.h"
#include "model/node_id.h"
#include "model/parameters.h"
#include "model/song_list.h"
#include "vexo/audio_file.h"
#include <array>
#include <cstring>
#include <list>

namespace {

bool CountNormal(const WebMan &request, const char *node_id, PlaylistLocation &location, int *count,
                 Json::Value &response) {
  PlaylistRows rows;
  if (!FindPlaylist(request, node_id, location, rows, response)) {
    return false;
  }
  rows.reset();
  const SongList songs = ReadPlaylistFile(location.path, count);
  return true;
}

void CountSmart(const WebMan &request, const char *node_id, int *count) {
  const bool is_personal = IsPersonalId(node_id);
  const std::string rules = is_personal ? PersonalSmartRules(request) : "";
  std::list<__tag_VEXO_MEDIA_INFO> songs;
  VexoAudioUtils::SmartPLSListSongs(IdTail(node_id, 2), 0, 0, count, songs,
                                    is_personal ? rules.c_str() : nullptr, false);
}

/// Counts the songs as far as they matter: the random playlist always has some.
bool Count(const WebMan &request, int *count, Json::Value &response) {
  PlaylistLocation location = LocationOfUser(request);
  if (!RequireParameters(request, std::array{"playlist"}, response)) {
    return false;
  }
  const char *node_id = request.In("playlist", "");
  if (std::strcmp(node_id, kRandomPlaylistId) == 0) {
    *count = 1;
    return true;
  }
  if (IsSmartId(node_id)) {
    CountSmart(request, node_id, count);
    return true;
  }
  return CountNormal(request, node_id, location, count, response);
}

} // namespace

void PlaylistHandler::HandleCheckEmpty() {
  Json::Value response;
  response["isEmpty"] = true;
  int count = 0;
  const bool success = Count(Request(), &count, response);
  response["isEmpty"] = count < 1;
  ActionHandler::SetSuccess(response, success);
  PrintAnswer(response);
}
