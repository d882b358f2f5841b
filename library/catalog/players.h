#pragma once
// The players of the house: those of the configuration, as the player daemon knows them.

#include "accounts/accounts.h"
#include "catalog/playlists.h"
#include "files/file_descriptor.h"
#include "system/player_commands.h"
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace vexo::catalog {

struct Player {
  int number = 0; ///< -1: the one on USB
  std::string name;
};

/// In the order of the configuration: its sections [player N], with their `name`.
std::vector<Player> ConfiguredPlayers();

/// The most songs that go into a player's queue at once.
inline constexpr std::size_t kMostPlayed = 100'000;

/// A command on its way to the daemon. Several may be asked before the first answer is waited for.
class PlayerQuestion {
public:
  /// `songs`, paths and addresses, come along with the commands that take some.
  PlayerQuestion(system::PlayerCommand command, std::initializer_list<int64_t> arguments,
                 const std::vector<std::string> *songs = nullptr);
  /// A JSON object; nothing when the daemon does not run, or does not answer in time. Waits for 12
  /// s at most.
  std::optional<std::string> Answer();

private:
  files::FileDescriptor daemon_;
  bool is_sent_ = false;
};

/// The paths of songs, in the order of the ids; empty ones for songs that the user does not see.
std::vector<std::string> PathsOfSongs(const accounts::Account &user,
                                      const std::vector<int32_t> &ids);

/// The paths and addresses of a playlist in its order: of its streams, and of those songs that the
/// user sees; empty ones for other entries. At most kMostPlayed. Throws playlists::UnreadableError.
std::vector<std::string> PathsOfPlaylist(const accounts::Account &user, const Playlist &playlist);

/// Whether a stream comes by the network. A player knows more kinds of addresses, which open its
/// machine's microphones, drives and shares.
bool ComesByNetwork(std::string_view address);

/// Those of the ids that are songs of the user's libraries.
std::set<int32_t> VisibleSongs(const accounts::Account &user, const std::vector<int32_t> &ids);

} // namespace vexo::catalog
