#include "export/song_sources.h"

#include "model/answer.h"
#include "model/device_paths.h"
#include "model/field_text.h"
#include "model/location.h"
#include "model/log_line.h"
#include "model/node_id.h"
#include "player/queue.h"
#include "vexo/audio_file.h"
#include "vexo/playlist_file.h"
#include "vexo/users.h"
#include <cstdlib>
#include <list>
#include <sys/stat.h>

namespace {

constexpr int kRandomSongs = 100;
constexpr int kPlaylistEntryCode = 7;

struct AudioPlaylistRelease {
  void operator()(AudioPlaylist *playlist) const { playlist->Release(); }
};
using LoadedFile = std::unique_ptr<AudioPlaylist, AudioPlaylistRelease>;

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
      user_(request.GetLoginUserName()), user_id_(GetUserIdFromName(user_.c_str())),
      target_(request.In("target", nullptr)), playlist_(request.In("playlist", nullptr)),
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
    LOG_LINE("Failed to get playlist from target [%s]", target_);
    return SystemError(response);
  }
  return true;
}

/// A user's random list is made once and serves until something removes it.
bool SongSource::LoadRandom(Json::Value &response) {
  char path[kPathSize];
  PrintToField(path, sizeof(path), kRandomListFormat, user_.c_str());
  if (!IsRegularFile(path) &&
      AudioFile::PlaylistRandomCreate(library_, user_id_, path, kRandomSongs) == 0) {
    return RandomFailed(response);
  }
  const LoadedFile file(AudioFile::PlaylistFileLoad(path, 0, 0));
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
  std::string path;
  if (!FindPlaylistFile(response, path)) {
    return false;
  }
  int count = 0;
  songs_.reset(ParsePlayListByFieldGivenPath(ResolvedPath(path).c_str(), &count, 0, 0, "*",
                                             kPlaylistEntryCode));
  return true;
}

bool SongSource::FindPlaylistFile(Json::Value &response, std::string &path) {
  const char *name = IdTail(playlist_, 2);
  const StorageKind kind = StorageKindOf(IsPersonalId(playlist_), user_);
  if (kind == StorageKind::kPreferenceFolder) {
    path = PlaylistFilePath(request_.GetPreferenceDir(), name);
    return true;
  }
  const bool shared = kind == StorageKind::kShared;
  VEXOPlaylistRow *row = nullptr;
  const int result =
      VEXOPlayListListGetByID(shared ? "shared" : "personal", shared ? 0 : user_id_, &row, name);
  row_.reset(row);
  if (result < 0 || row == nullptr) {
    LOG_LINE("The playlist with id: %s does not exist.", name);
    return SystemError(response);
  }
  path = row->info.path;
  return true;
}

bool SongSource::LoadChosen(Json::Value &response) {
  return GetSongsByText(id_info_list_, songs_, &chosen_) || SystemError(response);
}

bool SongSource::PushFront(const __tag_VEXO_MEDIA_INFO &song, Json::Value &response) {
  auto *node = static_cast<VEXOPlaylistRec *>(std::calloc(1, sizeof(VEXOPlaylistRec)));
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
