#pragma once
// The players of the configuration: the sections [player N] and [player usb], each an MPD.

#include <map>
#include <string>

namespace vexo::audiod {

struct PlayerSettings {
  std::string host;            ///< a name, an address, or the path of a socket
  unsigned port = 6600;        ///< without meaning for a socket
  std::string partition;       ///< empty: the one that MPD begins with
  std::string music_directory; ///< as the index names it; empty: MPD is asked
};

/// By player number. A section that cannot be a player's is logged and left out.
std::map<int, PlayerSettings> ConfiguredPlayers();

} // namespace vexo::audiod
