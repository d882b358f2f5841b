#include "actions/new_playlist.h"

#include "model/answer.h"
#include "model/device_paths.h"
#include "model/field_text.h"
#include "model/folder_lock.h"
#include "model/log_line.h"
#include "model/row_refresh.h"
#include "vexo/audio_file.h"
#include "vexo/media_index.h"
#include "vexo/playlist_file.h"
#include <cerrno>
#include <cstring>
#include <unistd.h>

namespace {

constexpr int kPlaylistKind = 3;
constexpr mode_t kEveryPermission = 0777;

bool IsThere(const std::string &path) {
  struct stat status {};
  return stat(path.c_str(), &status) == 0;
}

/// Makes the folder, or finds that another process has made it meanwhile. On failure errno tells
/// why it could not be made.
bool MakeFolder(const std::string &folder) {
  if (mkdir(folder.c_str(), kEveryPermission) == 0) {
    return true;
  }
  const int reason = errno;
  const bool made_meanwhile = reason == EEXIST && IsThere(folder);
  errno = reason;
  return made_meanwhile;
}

bool SharedRoot(std::string &root, Json::Value &response) {
  char target[kPathSize] = {};
  if (readlink(kMusicLink, target, sizeof(target) - 1) == -1) {
    return LOG_AND_FAIL(response, "Failed to read link of %s", kMusicLink);
  }
  root = target;
  return true;
}

bool PersonalRoot(const std::string &user, std::string &root, Json::Value &response) {
  char folder[kPathSize] = {};
  if (AudioFile::GetPersonalLibraryFolderPath(user.c_str(), folder, sizeof(folder)) == 0) {
    return LOG_AND_FAIL(response, "Failed to get personal library folder of user [%s]",
                        user.c_str());
  }
  root = folder;
  return true;
}

bool RootOf(const WebMan &request, PlaylistLocation &location, Json::Value &response) {
  switch (location.kind) {
  case StorageKind::kShared:
    return SharedRoot(location.root, response);
  case StorageKind::kPersonalLibrary:
    return PersonalRoot(location.user, location.root, response);
  case StorageKind::kPreferenceFolder:
    break;
  }
  location.root = request.GetPreferenceDir();
  return true;
}

/// The record by which the media index learns of a new playlist.
__tag_VEXO_MEDIA_INFO PlaylistRecord(const std::string &path, const std::string &name) {
  __tag_VEXO_MEDIA_INFO record{};
  SetField(record.path, path.c_str());
  SetField(record.title, name.c_str());
  SetField(record.album, "playlists");
  struct stat status {};
  if (stat(path.c_str(), &status) == 0) {
    SetFileTimesAndSize(record, status);
  }
  return record;
}

} // namespace

bool MakePlaylistsFolder(const std::string &folder, bool removes_dangling_link, bool logs_folder,
                         Json::Value &response) {
  if (IsThere(folder)) {
    return true;
  }
  umask(0);
  if (removes_dangling_link) {
    unlink(folder.c_str());
  }
  if (MakeFolder(folder)) {
    return true;
  }
  if (logs_folder) {
    LOG_LINE("Failed to create directory %s. %s", folder.c_str(), std::strerror(errno));
  } else {
    LOG_LINE("Failed to create directory %s.", std::strerror(errno));
  }
  return SystemError(response);
}

bool LocateNewPlaylist(const WebMan &request, const std::string &name, const FolderOptions &options,
                       PlaylistLocation &location, Json::Value &response) {
  if (!RootOf(request, location, response)) {
    return false;
  }
  location.path = PlaylistFilePath(location.root, name);
  const bool in_preferences = location.kind == StorageKind::kPreferenceFolder;
  const bool in_personal_library = location.kind == StorageKind::kPersonalLibrary;
  return MakePlaylistsFolder(PlaylistsFolder(location.root),
                             in_preferences && options.removes_dangling_link,
                             in_personal_library && options.logs_personal_folder, response);
}

bool CreateEmptyPlaylist(const PlaylistLocation &location, bool may_exist, Json::Value &response) {
  const FolderLock lock(FolderOf(location.path));
  if (!may_exist && access(location.path.c_str(), F_OK) == 0) {
    return NameExists(response);
  }
  if (lock.IsBusy() || VEXOWriteMusicPlaylist(nullptr, location.path.c_str()) != 0) {
    return LOG_AND_FAIL(response, "Failed to create playlist %s", location.path.c_str());
  }
  return true;
}

bool SaveRow(const PlaylistLocation &location, const std::string &name, Json::Value &response) {
  const __tag_VEXO_MEDIA_INFO record = PlaylistRecord(location.path, name);
  const int saved = location.IsShared()
                        ? VEXOPlaylistDBSave(&record)
                        : PersonalLibraryInfoDBSave(kPlaylistKind, &record, location.user_id);
  return saved != -1 || SystemError(response);
}

bool ReadBackId(const PlaylistLocation &location, std::string &id, Json::Value &response) {
  char text[kNodeIdSize] = {};
  if (VEXOPlaylistIDGet(location.Library(), location.user_id, location.path.c_str(), text,
                        sizeof(text)) != 0) {
    return LOG_AND_FAIL(response, "Failed to get playlist id from playlist table.");
  }
  id = text;
  return true;
}

bool WriteSongs(const SongList &songs, const std::string &resolved_path, Json::Value &response) {
  if (VEXOWriteMusicPlaylist(songs.get(), resolved_path.c_str()) != 0) {
    return LOG_AND_FAIL(response, "Failed to write songs into playlist.");
  }
  return true;
}
