#include "model/find_playlist.h"

#include "model/answer.h"
#include "model/node_id.h"

bool FindPlaylist(const WebMan &request, const char *node_id, PlaylistLocation &location,
                  PlaylistRows &rows, Json::Value &response) {
  const char *tail = IdTail(node_id, 2);
  location.kind = StorageKindOf(IsPersonalId(node_id), location.user);
  if (!location.HasRow()) {
    location.path = PlaylistFilePath(request.GetPreferenceDir(), tail);
    return true;
  }
  const int owner = location.IsShared() ? 0 : location.user_id;
  if (LookUpRows(location.Library(), owner, tail, rows) < 0 || rows == nullptr) {
    return LOG_AND_FAIL(response, "The playlist with id: %s does not exist.", tail);
  }
  location.path = FirstPath(rows);
  return true;
}
