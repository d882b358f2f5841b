#pragma once
// The playlists that a user sees, of every kind: lists in files (of the shared library, of the
// user's own one, or of the preference folder of a user without one), smart playlists (shared and
// own), and the random one. Those of others do not exist.

#include "accounts/accounts.h"
#include "catalog/file_state.h"
#include "index/media_index.h"
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vexo::catalog {

enum class PlaylistKind { kList, kSmart, kRandom };

/// The node id of the random playlist.
inline constexpr std::string_view kRandomPlaylist = "musiclib_random";
/// How many songs it has at most.
inline constexpr int kRandomSongs = 100;

struct Playlist {
  std::string id{}; ///< the node id, as the actions take it
  std::string name{};
  PlaylistKind kind = PlaylistKind::kList;
  bool is_personal = false;
  /// The list's file, or the one that holds the rule. Empty for the random playlist.
  std::string path{};
  FileState file{}; ///< of what stands at `path`
  std::string
      version{}; ///< of a smart playlist: that of its block of rules. See playlists/version.h
};

/// All that the user sees, in no promised order. A smart playlist whose name no node id can hold
/// (one with a '/') is passed over, as is a file whose name is not UTF-8.
std::vector<Playlist> PlaylistsOf(const accounts::Account &user);

/// The playlist with that node id; nothing where the user has none. A list's file may be missing.
std::optional<Playlist> FindPlaylist(const accounts::Account &user, std::string_view node_id);

/// The file of the rules of the shared smart playlists, or of the user's own.
std::string RuleFile(const accounts::Account &user, bool is_personal);

/// The node id of a smart playlist.
std::string SmartId(bool is_personal, std::string_view name);

} // namespace vexo::catalog
