#pragma once
// Changes of smart playlists. Each is decided and made under the lock of the file of rules, and
// leaves every other byte of it as it was.

#include "accounts/accounts.h"
#include "catalog/playlists.h"
#include <functional>
#include <string>
#include <string_view>

namespace vexo::catalog {

enum class SmartEdit {
  kDone,
  kNotThere,  ///< there is no playlist of that name
  kNameTaken, ///< there is one
  kStale,     ///< it has a version that the client does not mean
  kFull,      ///< the file of rules cannot hold more
};

/// A name has as many bytes at most, as those of other playlists.
inline constexpr std::size_t kLongestName = 250;

/// Whether a smart playlist can have the name: its node id ends with it, and a rule file holds it.
bool IsSmartName(std::string_view name);

/// Adds a smart playlist to the shared ones or to the user's own. The rule must be one.
SmartEdit AddSmart(const accounts::Account &user, bool is_personal, std::string_view name,
                   std::string_view rule);

/// Whether the client means the version that a playlist has.
using IsMeant = std::function<bool(const std::string &version)>;

/// Gives a smart playlist another rule, and that name.
SmartEdit SetRule(const Playlist &playlist, std::string_view name, std::string_view rule,
                  const IsMeant &is_meant);

SmartEdit RemoveSmart(const Playlist &playlist, const IsMeant &is_meant);

} // namespace vexo::catalog
