#pragma once
// The entries of a list that nothing plays.

#include "accounts/accounts.h"
#include "catalog/list_entries.h"
#include <vector>

namespace vexo::catalog {

/// The entries of a list that stand for no song of the index that the user sees, no stream and no
/// file in the libraries of the user, in their order.
std::vector<ListEntry> MissingEntries(const accounts::Account &user, List &list);

} // namespace vexo::catalog
