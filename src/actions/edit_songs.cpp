#include "handler/audio_playlist.h"
#include "model/answer.h"
#include "model/location.h"
#include "model/log_line.h"
#include "model/node_id.h"
#include "model/parameters.h"
#include "model/row_refresh.h"
#include "model/song_json.h"
#include "vexo/playlist_file.h"
#include <array>
#include <cstdlib>

namespace {

/// One edit of one playlist. A playlist with a row is named by its id, the others by their path.
struct Edit {
  PlaylistLocation location;
  const char *id = "";
  SongList songs;
  int count = 0; ///< of the songs
  long start = 0, limit = 0;
  const char *positions = "";
};

/// What an action does in its own way; all the rest is the same for all.
struct EditAction {
  std::array<const char *, 4> required; ///< the first is the playlist's node id
  bool takes_songs;
  int (*edit_file)(const Edit &edit);
  const char *file_failure; ///< logged when edit_file fails
  int (*edit_row)(const Edit &edit);
  const char *row_failure; ///< logged when edit_row fails
};

int AppendToFile(const Edit &edit) {
  return VEXOPersonalPlaylistAppendSongs(edit.location.path.c_str(), edit.songs.get(), edit.count);
}

int AppendToRow(const Edit &edit) {
  return VEXOPlaylistAppendSongs(edit.location.Library(), edit.location.user_id, edit.id,
                                 edit.songs.get(), edit.count);
}

int UpdateFile(const Edit &edit) {
  return VEXOPersonalPlaylistUpdateSongs(edit.location.path.c_str(), edit.songs.get(), edit.start,
                                         edit.limit);
}

int UpdateRow(const Edit &edit) {
  return VEXOPlaylistUpdateSongs(edit.location.Library(), edit.location.user_id, edit.id,
                                 edit.songs.get(), edit.start, edit.limit);
}

int RemoveFromFile(const Edit &edit) {
  return VEXOPersonalPlaylistRemoveSongs(edit.location.path.c_str(), edit.positions);
}

int RemoveFromRow(const Edit &edit) {
  return VEXOPlaylistRemoveSongs(edit.location.Library(), edit.location.user_id, edit.id,
                                 edit.positions);
}

int RemoveMissingFromFile(const Edit &edit) {
  return VEXOPersonalPlaylistRemoveMissing(edit.location.path.c_str());
}

int RemoveMissingFromRow(const Edit &edit) {
  return VEXOPlaylistRemoveMissing(edit.location.Library(), edit.location.user_id, edit.id);
}

constexpr EditAction kAddSongs = {
    {"playlist", "id_info_list"},         true,        AppendToFile,
    "Failed to add songs into playlist.", AppendToRow, "Failed to add songs into playlist."};
constexpr EditAction kUpdate = {{"playlist", "id_info_list", "start", "limit"},
                                true,
                                UpdateFile,
                                "Failed to remove songs from playlist.",
                                UpdateRow,
                                "Failed to update songs into playlist."};
constexpr EditAction kRemoveSongs = {{"playlist", "seq_list"},
                                     false,
                                     RemoveFromFile,
                                     "Failed to remove songs from playlist.",
                                     RemoveFromRow,
                                     "Failed to remove songs from playlist."};
constexpr EditAction kRemoveMissing = {
    {"playlist_id"},       false,
    RemoveMissingFromFile, "Failed to remove songs from playlist.",
    RemoveMissingFromRow,  "Failed to remove missing files from playlist."};

bool EditFile(const WebMan &request, const EditAction &action, Edit &edit, Json::Value &response) {
  edit.location.path = PlaylistFilePath(request.GetPreferenceDir(), edit.id);
  if (action.edit_file(edit) != 0) {
    return LOG_AND_FAIL(response, "%s", action.file_failure);
  }
  return true;
}

bool EditRow(const WebMan &request, const EditAction &action, const Edit &edit,
             Json::Value &response) {
  if (action.edit_row(edit) != 0) {
    return LOG_AND_FAIL(response, "%s", action.row_failure);
  }
  if (!UpdatePlaylistDBInfo(edit.location.Library(), edit.location.user_id,
                            LeadingNumber(edit.id))) {
    // The number of this parameter is told even where another one names the playlist.
    return LOG_AND_FAIL(response, "Failed to update database info of playlist id:%d.",
                        NumericTail(request.In("playlist", "")));
  }
  return true;
}

void Run(const WebMan &request, const EditAction &action, Json::Value &response) {
  Edit edit;
  edit.location = LocationOfUser(request);
  if (!RequireParameters(request, action.required, response)) {
    return;
  }
  const char *node_id = request.In(action.required.front(), "");
  edit.id = IdTail(node_id, 2);
  edit.start = std::strtol(request.In("start", "0"), nullptr, 10);
  edit.limit = std::strtol(request.In("limit", "0"), nullptr, 10);
  edit.positions = request.In("seq_list", "");
  if (action.takes_songs &&
      !GetSongsByText(request.In("id_info_list", ""), edit.songs, &edit.count)) {
    SystemError(response);
    return;
  }
  edit.location.kind = StorageKindOf(IsPersonalId(node_id), edit.location.user);
  if (edit.location.HasRow() ? EditRow(request, action, edit, response)
                             : EditFile(request, action, edit, response)) {
    ActionHandler::SetSuccess(response, true);
  }
}

void EditAndAnswer(const WebMan &request, const EditAction &action) {
  Json::Value response;
  Run(request, action, response);
  PrintAnswer(response);
}

} // namespace

void PlaylistHandler::HandleAddSongs() { EditAndAnswer(Request(), kAddSongs); }

void PlaylistHandler::HandleUpdate() { EditAndAnswer(Request(), kUpdate); }

void PlaylistHandler::HandleRemoveSongs() { EditAndAnswer(Request(), kRemoveSongs); }

void PlaylistHandler::HandleRemoveMissing() { EditAndAnswer(Request(), kRemoveMissing); }
