#pragma once
// The items of which a client makes a queue.

#include "accounts/accounts.h"
#include "api/problem.h"
#include "catalog/queue.h"
#include <json/json.h>
#include <variant>
#include <vector>

namespace vexo::api {

/// An entry for each item. One whose song the user does not see, or that is said to be missing, has
/// no path.
std::variant<std::vector<catalog::QueueEntry>, Problem>
ReadQueueItems(const accounts::Account &user, const Json::Value &items);

} // namespace vexo::api
