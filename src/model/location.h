#pragma once
// Where a playlist lives: the shared library, the login user's personal library, or, for a user
// whose personal library is not enabled, the preference folder.

#include "vexo/web.h"
#include <string>

enum class StorageKind { kShared, kPersonalLibrary, kPreferenceFolder };

struct PlaylistLocation {
  StorageKind kind = StorageKind::kShared;
  std::string user; ///< the login user's name
  int user_id = 0;
  std::string root; ///< the folder that holds the folder "playlists"
  std::string path; ///< of the playlist's file

  /// What host calls take for the library: "shared" or "personal".
  [[nodiscard]] const char *Library() const;
  [[nodiscard]] bool IsShared() const { return kind == StorageKind::kShared; }
  /// Whether the playlist has a row in the media index.
  [[nodiscard]] bool HasRow() const { return kind != StorageKind::kPreferenceFolder; }
};

/// A location with the login user in it and nothing else.
[[nodiscard]] PlaylistLocation LocationOfUser(const WebMan &request);

/// The storage kind of a personal or shared playlist of the user.
[[nodiscard]] StorageKind StorageKindOf(bool is_personal, const std::string &user);

/// The folder of the playlist files below `root`.
[[nodiscard]] std::string PlaylistsFolder(const std::string &root);

/// The path of the playlist file `name` below `root`.
[[nodiscard]] std::string PlaylistFilePath(const std::string &root, const std::string &name);

/// The folder that a file is in: what stands before the last '/' of its path.
[[nodiscard]] std::string FolderOf(const std::string &path);

/// The rules of the login user's smart playlists.
[[nodiscard]] std::string PersonalSmartRules(const WebMan &request);

/// The path with all links resolved; `path` itself when it cannot be.
[[nodiscard]] std::string ResolvedPath(const std::string &path);

/// Names have at most 250 bytes.
[[nodiscard]] bool IsNameTooLong(const char *name);
