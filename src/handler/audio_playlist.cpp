#include "handler/audio_playlist.h"

#include "actions/check_empty.h"
#include "actions/create_playlist.h"
#include "actions/delete_playlists.h"
#include "actions/duplicate_playlist.h"
#include "actions/edit_songs.h"
#include "actions/rename_playlist.h"
#include "export/download.h"
#include "vexo/users.h"
#include <cstring>

namespace {

struct Action {
  const char *name;
  void (PlaylistHandler::*run)();
};

constexpr Action kActions[] = {
    {"add", &PlaylistHandler::HandleAdd},
    {"addplaying", &PlaylistHandler::HandleAddPlaying},
    {"addsearch", &PlaylistHandler::HandleAddSearch},
    {"removesongs", &PlaylistHandler::HandleRemoveSongs},
    {"addsongs", &PlaylistHandler::HandleAddSongs},
    {"delete", &PlaylistHandler::HandleDelete},
    {"saveplsname", &PlaylistHandler::HandleSavePlsName},
    {"update", &PlaylistHandler::HandleUpdate},
    {"remove_missing", &PlaylistHandler::HandleRemoveMissing},
    {"duplicate", &PlaylistHandler::HandleDuplicate},
    {"download", &PlaylistHandler::HandleDownload},
    {"checkempty", &PlaylistHandler::HandleCheckEmpty},
};

} // namespace

PlaylistHandler::PlaylistHandler() = default;
PlaylistHandler::~PlaylistHandler() = default;

int PlaylistHandler::Process() {
  if (!Request().IsAuthorized()) {
    return 0;
  }
  Request().LoadIn();
  // No action depends on the permission; the host takes note of the user by being asked.
  AudioUsers::GetUserPermission(Request().GetLoginUserName().c_str());
  const char *name = Request().In("action", nullptr);
  if (name == nullptr) {
    return 0;
  }
  for (const Action &action : kActions) {
    if (std::strcmp(action.name, name) == 0) {
      (this->*action.run)();
      return 1;
    }
  }
  return 0;
}

void PlaylistHandler::HandleAdd() { ::HandleAdd(Request()); }
void PlaylistHandler::HandleAddPlaying() { ::HandleAddPlaying(Request()); }
void PlaylistHandler::HandleAddSearch() { ::HandleAddSearch(Request()); }
void PlaylistHandler::HandleRemoveSongs() { ::HandleRemoveSongs(Request()); }
void PlaylistHandler::HandleAddSongs() { ::HandleAddSongs(Request()); }
void PlaylistHandler::HandleDelete() { ::HandleDelete(Request()); }
void PlaylistHandler::HandleSavePlsName() { ::HandleSavePlsName(Request()); }
void PlaylistHandler::HandleUpdate() { ::HandleUpdate(Request()); }
void PlaylistHandler::HandleRemoveMissing() { ::HandleRemoveMissing(Request()); }
void PlaylistHandler::HandleDuplicate() { ::HandleDuplicate(Request()); }
void PlaylistHandler::HandleDownload() { ::HandleDownload(Request()); }
void PlaylistHandler::HandleCheckEmpty() { ::HandleCheckEmpty(Request()); }
