#pragma once
#include "vexo/web.h"
#include <string>

/// The id of the root of a library in the client's tree.
[[nodiscard]] const char *LibraryRootId(bool is_shared);

/// Assigns what all nodes of playlists have in common: they are leaves that cannot be dragged.
void SetLeafMembers(Json::Value &node);

/// Renders a new normal playlist as a node of the client's tree. `database_id` is its id text; it
/// is not used for a playlist of a preference folder, whose id is its name.
void PlaylistNodeToJson(const WebMan &request, const std::string &name,
                        const std::string &database_id, bool is_shared, Json::Value &node);
