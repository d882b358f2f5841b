#include "export/song_sources.h"

#include "model/answer.h"
#include "model/device_paths.h"
#include "model/field_text.h"
#include "model/find_playlist.h"
#include "model/node_id.h"
#include "model/song_json.h"
#include "player/queue.h"
#include <list>
#include <sys/stat.h>

namespace {

constexpr int kRandomSongs = 100;

bool IsRegularFile(const char *path) {
  struct stat status {};
  return stat(path, &status) == 0 && S_ISREG(status.st_mode);
}

bool RandomFailed(Json::Value &response, int line = __builtin_LINE()) {
  ActionHandler::SetError(response, "playlist", "error_create_random100", line);
  return false;
}

} // namespace

SongSource::SongSource(WebMan &request)
    : request_(request), library_(request.In("library", "shared")),
      location_(LocationOfUser(request)), target_(request.In("target", nullptr)),
      playlist_(request.In("playlist", nullptr)),
      id_info_list_(request.In("id_info_list", nullptr)) {}

bool SongSource::IsGiven() const {
  return target_ != nullptr || playlist_ != nullptr || id_info_list_ != nullptr;
}

bool SongSource::Load(Json::Value &response) {
  if (target_ != nullptr) {
    return LoadQueue(response);
  }
  return playlist_ != nullptr ? LoadPlaylist(response) : LoadChosen(response);
}

bool SongSource::LoadPlaylist(Json::Value &response) {
  if (std::string(playlist_) == kRandomPlaylistId) {
    return LoadRandom(response);
  }
  return IsSmartId(playlist_) ? LoadSmart(response) : LoadNormal(response);
}

bool SongSource::LoadQueue(Json::Value &response) {
  VEXOPlaylistRec *head = nullptr;
  const int entries = LoadPlayerQueue(request_, target_, &head);
  songs_.reset(head);
  if (entries < 0) {
    return LOG_AND_FAIL(response, "Failed to get playlist from target [%s]", target_);
  }
  return true;
}

/// A user's random list is made once and serves until something removes it.
bool SongSource::LoadRandom(Json::Value &response) {
  char path[kPathSize];
  PrintToField(path, sizeof(path), kRandomListFormat, location_.user.c_str());
  if (!IsRegularFile(path) &&
      AudioFile::PlaylistRandomCreate(library_, location_.user_id, path, kRandomSongs) == 0) {
    return RandomFailed(response);
  }
  const LoadedPlaylist file(AudioFile::PlaylistFileLoad(path, 0, 0));
  if (!file) {
    LOG_LINE("Cannot load the playlist from %s", path);
    return RandomFailed(response);
  }
  for (__tag_VEXO_MEDIA_INFO **song = file->begin; song != file->end; ++song) {
    if (!PushFront(**song, response)) {
      return false;
    }
  }
  Reverse();
  return true;
}

/// A smart playlist that is not known is an empty one.
bool SongSource::LoadSmart(Json::Value &response) {
  const std::string rules = IsPersonalId(playlist_) ? PersonalSmartRules(request_) : std::string();
  std::list<__tag_VEXO_MEDIA_INFO> found;
  int count = 0;
  VexoAudioUtils::SmartPLSListSongs(IdTail(playlist_, 2), 0, 0, &count, found,
                                    rules.empty() ? nullptr : rules.c_str(), false);
  // Each record goes as soon as it was copied: a large list must not be held twice.
  for (; !found.empty(); found.pop_front()) {
    if (!PushFront(found.front(), response)) {
      return false;
    }
  }
  Reverse();
  return true;
}

bool SongSource::LoadNormal(Json::Value &response) {
  if (!FindPlaylist(request_, playlist_, location_, rows_, response)) {
    return false;
  }
  int count = 0;
  songs_ = ReadPlaylistFile(ResolvedPath(location_.path), &count);
  return true;
}

bool SongSource::LoadChosen(Json::Value &response) {
  return GetSongsByText(id_info_list_, songs_, &chosen_) || SystemError(response);
}

bool SongSource::PushFront(const __tag_VEXO_MEDIA_INFO &song, Json::Value &response) {
  VEXOPlaylistRec *node = NewSong();
  if (node == nullptr) {
    syslog(LOG_ERR, "%s (%d) Failed to alloc %d", "audio_playlist.cpp", __LINE__,
           static_cast<int>(sizeof(VEXOPlaylistRec)));
    return SystemError(response);
  }
  node->info = song;
  node->next = songs_.release();
  songs_.reset(node);
  return true;
}

void SongSource::Reverse() { songs_.reset(PlaylistRecReverse(songs_.release())); }
