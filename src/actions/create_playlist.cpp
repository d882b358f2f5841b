#include "actions/create_playlist.h"

#include "actions/new_playlist.h"
#include "handler/audio_playlist.h"
#include "model/answer.h"
#include "model/log_line.h"
#include "model/parameters.h"
#include "model/tree_node.h"
#include "player/queue.h"
#include "vexo/media_index.h"
#include <array>
#include <cstring>
#include <string_view>

namespace {

/// What became of looking for the new playlist's songs.
enum class Songs { kFailed, kNoneAsked, kFound };

/// What an action does in its own way; all the rest is the same for all.
struct CreateAction {
  std::array<const char *, 3> required;
  bool logs_personal_folder;
  Songs (*find)(WebMan &request, const PlaylistLocation &location, SongList &songs);
};

Songs ChosenSongs(WebMan &request, const PlaylistLocation & /*location*/, SongList &songs) {
  const char *chosen = request.In("id_info_list", nullptr);
  if (chosen == nullptr) {
    return Songs::kNoneAsked;
  }
  int count = 0;
  return GetSongsByText(chosen, songs, &count) ? Songs::kFound : Songs::kFailed;
}

Songs QueuedSongs(WebMan &request, const PlaylistLocation & /*location*/, SongList &songs) {
  const char *target = request.In("target", nullptr);
  VEXOPlaylistRec *head = nullptr;
  const int loaded = LoadPlayerQueue(request, target, &head);
  songs.reset(head);
  if (loaded == -1) {
    LOG_LINE("Failed to get playlist from target [%s]", target);
    return Songs::kFailed;
  }
  return Songs::kFound;
}

/// A search that fails counts as one that finds nothing.
Songs SearchedSongs(WebMan &request, const PlaylistLocation &location, SongList &songs) {
  const int ascending = std::strcmp(request.In("dir", "ASC"), "ASC") == 0 ? 1 : 0;
  VEXOPlaylistRec *head = nullptr;
  VEXOMusicListAll(request.In("library", "shared"), location.user_id, &head,
                   SearchFieldFromName(request.In("category", nullptr)),
                   request.In("keyword", nullptr), request.In("sort", "album"), ascending, 0, 0);
  songs.reset(head);
  return Songs::kFound;
}

constexpr CreateAction kAdd = {{"name"}, true, ChosenSongs};
constexpr CreateAction kAddPlaying = {{"name", "target"}, false, QueuedSongs};
constexpr CreateAction kAddSearch = {{"name", "category", "keyword"}, false, SearchedSongs};

/// The file and the row of a playlist that does not exist yet.
bool MakePlaylist(const PlaylistLocation &location, const char *name, Json::Value &response) {
  return CreateEmptyPlaylist(location, false, response) &&
         (!location.HasRow() || SaveRow(location, name, response));
}

bool FillPlaylist(WebMan &request, const CreateAction &action, const PlaylistLocation &location,
                  SongList &songs, Json::Value &response) {
  switch (action.find(request, location, songs)) {
  case Songs::kFailed:
    return SystemError(response);
  case Songs::kNoneAsked:
    return true;
  case Songs::kFound:
    break;
  }
  return WriteSongs(songs, ResolvedPath(location.path), response);
}

void Create(WebMan &request, const CreateAction &action, Json::Value &response) {
  PlaylistLocation location = LocationOfUser(request);
  if (!RequireParameters(request, action.required, response)) {
    return;
  }
  const char *name = request.In("name", nullptr);
  if (IsNameTooLong(name)) {
    NameTooLong(response);
    return;
  }
  const bool is_personal = std::strcmp(request.In("type", "personal"), "shared") != 0;
  location.kind = StorageKindOf(is_personal, location.user);
  std::string id;
  SongList songs;
  if (LocateNewPlaylist(request, name, {true, action.logs_personal_folder}, location, response) &&
      (WantsOverwrite(request) || MakePlaylist(location, name, response)) &&
      (!location.HasRow() || ReadBackId(location, id, response)) &&
      FillPlaylist(request, action, location, songs, response)) {
    Json::Value node;
    PlaylistNodeToJson(request, name, id, location.IsShared(), node);
    response["node"] = node;
    ActionHandler::SetSuccess(response, true);
  }
}

void CreateAndAnswer(WebMan &request, const CreateAction &action) {
  Json::Value response;
  Create(request, action, response);
  PrintAnswer(response);
}

} // namespace

void PlaylistHandler::HandleAdd() { CreateAndAnswer(Request(), kAdd); }

void PlaylistHandler::HandleAddPlaying() { CreateAndAnswer(Request(), kAddPlaying); }

void PlaylistHandler::HandleAddSearch() { CreateAndAnswer(Request(), kAddSearch); }

int SearchFieldFromName(const char *category) {
  struct Field {
    std::string_view name;
    int code;
  };
  constexpr std::array<Field, 5> kFields = {
      {{"title", 1}, {"artist", 2}, {"album", 3}, {"genre", 6}, {"all", 8}}};
  for (const Field &field : kFields) {
    if (category != nullptr && field.name == category) {
      return field.code;
    }
  }
  return 0;
}
