#pragma once
// The steps by which a normal playlist comes into being, for all actions that make one. Each step
// that fails has logged it, where it is to be logged, and put the error into the response.

#include "model/location.h"
#include "model/song_json.h"

/// How an action makes a missing folder of playlists.
struct FolderOptions {
  /// In a preference folder, remove a dangling link of that name first.
  bool removes_dangling_link;
  /// In a personal library, log a failure with the folder's path.
  bool logs_personal_folder;
};

/// Makes the folder when it is missing, with every permission.
[[nodiscard]] bool MakePlaylistsFolder(const std::string &folder, bool removes_dangling_link,
                                       bool logs_folder, Json::Value &response);

/// Settles root and path of the new playlist `name` of a location whose user and kind are known,
/// and makes the folder of playlists.
[[nodiscard]] bool LocateNewPlaylist(const WebMan &request, const std::string &name,
                                     const FolderOptions &options, PlaylistLocation &location,
                                     Json::Value &response);

/// Writes the empty file. Of several processes that do so at once without `may_exist`, one succeeds
/// and the others find the name taken.
[[nodiscard]] bool CreateEmptyPlaylist(const PlaylistLocation &location, bool may_exist,
                                       Json::Value &response);

/// Saves the playlist's row.
[[nodiscard]] bool SaveRow(const PlaylistLocation &location, const std::string &name,
                           Json::Value &response);

/// Reads the id of the playlist's row.
[[nodiscard]] bool ReadBackId(const PlaylistLocation &location, std::string &id,
                              Json::Value &response);

/// Writes the songs into the playlist's file; `resolved_path` has no links in it.
[[nodiscard]] bool WriteSongs(const SongList &songs, const std::string &resolved_path,
                              Json::Value &response);
