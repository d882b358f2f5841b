#pragma once
// Which groups a song is in, by what its file tells.

#include "index/catalog.h"
#include <cstdint>
#include <optional>
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

/// The number of the disc that a folder of this name holds, of the album that the folder around it
/// is; nothing for a folder of its own. "CD 2", "Disc 3 (Live)", "disque_04".
std::optional<int32_t> DiscOfFolder(const std::string &name);

/// The number of a song's disc: what its file tells, or else its folder; 0: not known.
int32_t DiscOf(int32_t disc, const std::string &path);

} // namespace vexo::index
