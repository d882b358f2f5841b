#include "handler/audio_playlist.h"

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
