#include "handler/audio_playlist.h"
#include "model/answer.h"
#include "model/field_text.h"
#include "model/folder_lock.h"
#include "model/location.h"
#include "model/log_line.h"
#include "model/node_id.h"
#include "model/parameters.h"
#include "model/row_refresh.h"
#include "vexo/media_index.h"
#include <array>
#include <cstdio>
#include <string>

namespace {

struct Rename {
  PlaylistLocation location;
  std::string old_path;
  std::string new_path;
  __tag_VEXO_MEDIA_INFO record; ///< the new row of a playlist that has one
};

/// A playlist that is gone no longer has its old name, which is all that was asked.
bool EndWithoutPlaylist(Json::Value &response) {
  LOG_LINE("Playlist does not exist.");
  ActionHandler::SetSuccess(response, true);
  return false;
}

bool Stat(const std::string &path, struct stat &status) { return stat(path.c_str(), &status) == 0; }

bool LocateInPreferences(const WebMan &request, const char *id, const char *name, Rename &rename,
                         Json::Value &response) {
  const std::string root = request.GetPreferenceDir();
  rename.old_path = PlaylistFilePath(root, IdTail(id, 2));
  rename.new_path = PlaylistFilePath(root, IdTail(name, 2));
  struct stat status {};
  return Stat(rename.old_path, status) || EndWithoutPlaylist(response);
}

/// What stands behind the last '.' of the path.
std::string ExtensionOf(const std::string &path) {
  const std::size_t dot = path.rfind('.');
  if (dot == std::string::npos) {
    LOG_LINE("Bad playlist name [%s].", path.c_str());
    return "m3u";
  }
  return path.substr(dot + 1);
}

bool LocateByRow(const char *id, const char *name, Rename &rename, Json::Value &response) {
  rename.record.id = NumericTail(id);
  char path[kPathSize] = {};
  VEXOPlaylistPathGet(rename.location.Library(), rename.location.user_id, rename.record.id, path,
                      sizeof(path));
  rename.old_path = path;
  struct stat status {};
  if (!Stat(rename.old_path, status)) {
    return EndWithoutPlaylist(response);
  }
  rename.record.size = static_cast<uint64_t>(status.st_size);
  const std::string extension = ExtensionOf(rename.old_path);
  if (rename.old_path.find('/') == std::string::npos) {
    return LOG_AND_FAIL(response, "Bad playlist name %s.", rename.old_path.c_str());
  }
  rename.new_path = CutToField(FolderOf(rename.old_path) + "/" + name + "." + extension, kPathSize);
  return true;
}

/// Puts what is known of the new name into the row.
bool FillRow(const char *name, Rename &rename, Json::Value &response) {
  SetField(rename.record.path, rename.new_path.c_str());
  SetField(rename.record.title, name);
  const std::string folder = FolderOf(rename.old_path);
  const std::size_t slash = folder.rfind('/');
  if (slash == std::string::npos) {
    return LOG_AND_FAIL(response, "Bad playlist name %s.", rename.old_path.c_str());
  }
  SetField(rename.record.album, folder.c_str() + slash + 1);
  return true;
}

/// Rewrites the row. When that fails the file gets its old name back.
bool WriteRow(Rename &rename, const struct stat &status) {
  SetFileTimes(rename.record, status);
  if (VEXOPlaylistDBUpdate(rename.location.Library(), rename.location.user_id, &rename.record,
                           rename.old_path.c_str()) == -1) {
    std::rename(rename.new_path.c_str(), rename.old_path.c_str());
    return false;
  }
  return true;
}

/// Renames the file and rewrites the row. The folder that the file comes into is locked, so that no
/// other process takes the new name. The lock is held until the row is written, so that the rename
/// can be undone: nobody may take the old name either. (Both names are in this folder, unless a
/// name contains '/'.)
bool MoveFile(const char *name, Rename &rename, Json::Value &response) {
  const FolderLock lock(FolderOf(rename.new_path));
  struct stat status {};
  if (Stat(rename.new_path, status)) {
    return NameExists(response);
  }
  if (lock.IsBusy() || std::rename(rename.old_path.c_str(), rename.new_path.c_str()) != 0) {
    return LOG_AND_FAIL(response, "Failed to rename to new playlist name.");
  }
  const bool has_row = rename.location.HasRow();
  if (has_row && !FillRow(name, rename, response)) {
    return false;
  }
  if (!Stat(rename.new_path, status)) {
    return LOG_AND_FAIL(response, "Failed to stat new name pls");
  }
  return !has_row || WriteRow(rename, status);
}

void Run(const WebMan &request, Json::Value &response) {
  Rename rename{};
  rename.location = LocationOfUser(request);
  if (!RequireParameters(request, std::array{"id", "name"}, response)) {
    return;
  }
  const char *id = request.In("id", "");
  const char *name = request.In("name", "");
  if (IsNameTooLong(name)) {
    NameTooLong(response);
    return;
  }
  rename.location.kind = StorageKindOf(IsPersonalId(id), rename.location.user);
  const bool located = rename.location.HasRow()
                           ? LocateByRow(id, name, rename, response)
                           : LocateInPreferences(request, id, name, rename, response);
  if (located && MoveFile(name, rename, response)) {
    ActionHandler::SetSuccess(response, true);
    response["id"] = id;
    response["name"] = name;
  }
}

} // namespace

void PlaylistHandler::HandleSavePlsName() {
  Json::Value response;
  Run(Request(), response);
  PrintAnswer(response);
}
