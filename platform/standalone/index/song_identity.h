#pragma once
// Which groups a song is in, by what its file tells.

#include "index/catalog.h"
#include <string>
#include <vector>

namespace vexo::index {

/// How a group is found: songs with the same kind and identity are in the same group.
struct GroupIdentity {
  GroupKind kind = GroupKind::kAlbum;
  std::string identity; ///< empty: no group
  std::string name;
};

/// What a song says about its groups.
struct SongIdentity {
  GroupIdentity album, artist, album_artist, genre, composer, year;
  GroupIdentity album_folder; ///< the one that its album lies in
  GroupIdentity folder;
};

SongIdentity IdentifySong(const Song &song);

GroupIdentity NamedGroup(GroupKind kind, const std::string &name);
GroupIdentity FolderGroup(std::string path);

/// The folder that a path lies in: "/" for "/a", nothing for "/" and what has no folder.
std::string FolderOf(const std::string &path);

/// Whether a folder of this name holds a disc of the album that the folder around it is.
bool IsDiscFolder(const std::string &name);

} // namespace vexo::index
