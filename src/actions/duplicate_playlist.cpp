#include "actions/duplicate_playlist.h"

#include "actions/duplicate_smart_playlist.h"
#include "actions/new_playlist.h"
#include "handler/audio_playlist.h"
#include "model/answer.h"
#include "model/field_text.h"
#include "model/log_line.h"
#include "model/node_id.h"
#include "model/parameters.h"
#include "model/playlist_rows.h"
#include "model/tree_node.h"
#include <cstring>
#include <sys/stat.h>

namespace {

/// What is copied.
struct Source {
  PlaylistLocation location;
  const char *tail; ///< of its node id
  std::string name; ///< the copy's as well
};

bool NoSuchPlaylist(const Source &source, Json::Value &response) {
  return LOG_AND_FAIL(response, "The playlist with id: %s does not exist.", source.tail);
}

bool FindShared(Source &source, Json::Value &response) {
  PlaylistRows rows;
  char title[kPathSize] = {};
  if (LookUpRows("shared", source.location.user_id, source.tail, rows) < 0 || rows == nullptr ||
      VEXOPlaylistTitleGet(source.tail, title, sizeof(title), rows.get()) < 0) {
    return NoSuchPlaylist(source, response);
  }
  source.location.path = FirstPath(rows);
  source.name = title;
  return true;
}

/// The client gets no word of a failure here: the response stays empty.
bool FindInPersonalLibrary(Source &source) {
  char path[kPathSize] = {};
  char title[kPathSize] = {};
  const int owner = source.location.user_id;
  if (VEXOPlaylistPathGet("personal", owner, LeadingNumber(source.tail), path, sizeof(path)) < 0 ||
      VEXOPlaylistTitleGetByPath(path, title, sizeof(title), owner) < 0) {
    LOG_LINE("Failed to get playlist path.");
    return false;
  }
  source.location.path = path;
  source.name = title;
  return true;
}

void FindInPreferences(const WebMan &request, Source &source) {
  source.location.path = PlaylistFilePath(request.GetPreferenceDir(), source.tail);
  source.name = source.tail;
}

bool FindSource(const WebMan &request, Source &source, Json::Value &response) {
  if (source.location.IsShared()) {
    return FindShared(source, response);
  }
  if (!source.location.HasRow()) {
    FindInPreferences(request, source);
  } else if (!FindInPersonalLibrary(source)) {
    return false;
  }
  struct stat status {};
  return stat(source.location.path.c_str(), &status) == 0 || NoSuchPlaylist(source, response);
}

bool CopySongs(const Source &source, const PlaylistLocation &target, Json::Value &response) {
  const std::string from = ResolvedPath(source.location.path);
  const std::string to = ResolvedPath(target.path);
  int count = 0;
  const SongList songs = ReadPlaylistFile(from, &count);
  return WriteSongs(songs, to, response);
}

/// Gives the copy its row, which an overwritten playlist has already, and reads back the row's id.
bool Register(const PlaylistLocation &target, const std::string &name, bool overwrite,
              std::string &id, Json::Value &response) {
  return !target.HasRow() ||
         ((overwrite || SaveRow(target, name, response)) && ReadBackId(target, id, response));
}

void AnswerNode(const WebMan &request, const PlaylistLocation &target, const std::string &name,
                const std::string &id, Json::Value &response) {
  Json::Value node;
  PlaylistNodeToJson(request, name, id, target.IsShared(), node);
  node["pid"] = LibraryRootId(target.IsShared());
  response["node"] = node;
  ActionHandler::SetSuccess(response, true);
}

} // namespace

void PlaylistHandler::HandleDuplicate() {
  const WebMan &request = Request();
  Json::Value response;
  const char *id = request.In("id", nullptr);
  if (id == nullptr) {
    LOG_AND_FAIL(response, "Bad parameter.");
  } else if (IsSmartId(id)) {
    DuplicateSmartPlaylist(request, response, id);
  } else if (std::strchr(id, '/') != nullptr) {
    DuplicateNormalPlaylist(request, response, id);
  }
  PrintAnswer(response);
}

void DuplicateNormalPlaylist(const WebMan &request, Json::Value &response, const char *id) {
  if (id == nullptr) {
    LOG_AND_FAIL(response, "Bad parameter.");
    return;
  }
  PlaylistLocation target = LocationOfUser(request);
  Source source{target, IdTail(id, 2), ""};
  source.location.kind = StorageKindOf(IsPersonalId(id), target.user);
  const bool overwrite = WantsOverwrite(request);
  std::string copy_id;
  if (!FindSource(request, source, response)) {
    return;
  }
  target.kind = StorageKindOf(source.location.IsShared(), target.user);
  if (LocateNewPlaylist(request, source.name, {false, false}, target, response) &&
      CreateEmptyPlaylist(target, overwrite, response) && CopySongs(source, target, response) &&
      Register(target, source.name, overwrite, copy_id, response)) {
    AnswerNode(request, target, source.name, copy_id, response);
  }
}
