#pragma once
// A playlist as resources show it.

#include "api/problem.h"
#include "catalog/list_entries.h"
#include "catalog/list_facts.h"
#include "catalog/playlists.h"
#include "catalog/smart_lists.h"
#include <exception>
#include <json/json.h>
#include <optional>
#include <string_view>

namespace vexo::api {

/// "list", "smart" or "random".
std::string_view NameOf(catalog::PlaylistKind kind);

/// What is known of any playlist without reading it.
Json::Value PlaylistJson(const catalog::Playlist &playlist);
/// The same of a list, with what reading it told; nothing: it is missing, or cannot be read.
Json::Value ListJson(const catalog::Playlist &playlist,
                     const std::optional<catalog::ListFacts> &facts);

/// What the file of a list says of an entry.
Json::Value EntryJson(const catalog::ListEntry &entry);

/// There is no playlist of the path's node id.
Problem NoSuchPlaylist();
/// A list's file cannot or may not be read as one. The log says why.
Problem UnreadablePlaylist(const catalog::Playlist &playlist, const std::exception &why);
/// A rule cannot be read; `status` is for whose fault that is.
Problem RuleProblem(int status, const catalog::RuleError &error);

} // namespace vexo::api
