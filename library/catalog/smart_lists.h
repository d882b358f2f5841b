#pragma once
// Smart playlists, as their rules say them.

#include "accounts/accounts.h"
#include "catalog/playlists.h"
#include "index/media_index.h"
#include "smart/rule.h"
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace vexo::catalog {

/// Why, and where in its text, a rule cannot be read. Lines and columns count from 1, columns in
/// characters.
struct RuleError {
  std::string what;
  std::size_t line = 0, column = 0;
};

/// What stands between the braces of a playlist's block, without the line breaks behind the first
/// and before the last one, is its rule.
std::string_view RuleText(std::string_view block);

/// The block of a playlist with that name and rule: RuleText() gives the rule back, to the byte.
std::string BlockOf(std::string_view name, std::string_view rule);

/// Reads a rule.
std::variant<smart::SmartPlaylist, RuleError> ParseRule(std::string_view rule);

/// The rule of a smart playlist that PlaylistsOf() or FindPlaylist() gave; nothing when it is gone.
std::optional<std::string> ReadBlock(const Playlist &playlist);

/// A part of the songs that a rule chooses now, and what all of them come to.
struct RuleSongs {
  index::SongTotals totals;
  std::vector<index::Song> songs;
};

/// The songs [offset, offset + limit) of a rule that is the user's own or a shared one: such a rule
/// chooses from the shared library, one of a user with a personal library from both.
RuleSongs SongsOfRule(const accounts::Account &user, bool is_personal,
                      const smart::SmartPlaylist &rule, int64_t offset, int64_t limit);

} // namespace vexo::catalog
