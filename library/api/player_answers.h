#pragma once
// What players answer, as resources show it.

#include "api/answer.h"
#include "api/request.h"
#include "catalog/players.h"
#include <json/json.h>
#include <optional>
#include <string>

namespace vexo::api {

/// The player that the path names.
std::optional<catalog::Player> FindPlayer(const Request &request);
Answer NoPlayer();

/// What the daemon tells, as a document; a null one when it tells nothing.
Json::Value Parsed(const std::optional<std::string> &reply);

/// Why a player does not do what it was told; nothing when it does.
std::optional<Problem> FailureOf(const Json::Value &reply);

/// Entries of a queue as a client sees them. What is no song that the user sees has no id, and only
/// a stream's address is told.
Json::Value ShownEntries(const Json::Value &entries, const Request &request);

/// A player's status, of the daemon's reply.
Json::Value StatusOf(const catalog::Player &player, const Json::Value &reply,
                     const Request &request);

/// Asks, and answers the player's status then, or the problem.
Answer Told(const catalog::Player &player, catalog::PlayerQuestion question,
            const Request &request);

} // namespace vexo::api
