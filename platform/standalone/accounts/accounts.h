#pragma once
// The users of the server, one a line in kAccountsFile. The file is looked at for each question,
// and read again when it is another one; it is replaced whole, so a reader needs no lock. Reading
// functions throw nothing for a file that is not there (no users) and std::runtime_error, with file
// and line, for one that is damaged. If the file becomes unreadable, the last version read by this
// process is used.

#include "accounts/accounts_file.h"
#include <functional>
#include <optional>
#include <string_view>
#include <vector>

namespace vexo::accounts {

/// In the order in which they were added.
std::vector<Account> ListAccounts();
std::optional<Account> FindAccount(std::string_view name);
std::optional<Account> FindAccount(int id);
/// The ids of accounts that were removed, in their order.
std::vector<int> RemovedAccountIds();

// Changes. They are serialised between processes, and durable when they return. They throw
// std::invalid_argument for what cannot be, std::system_error when writing fails.

/// Adds an account (its `id` is ignored) and gives its new id; empty folders get their defaults
/// below kHomes and kPreferences. Makes the folders. Throws when the name is bad or taken.
int AddAccount(Account account);
/// Changes folders and switches of the account of that name as `change` says. Makes the folders.
/// Throws when there is none.
void ChangeAccount(std::string_view name, const std::function<void(Account &)> &change);
/// Ends all sessions of the account: it raises its generation. Throws when there is none.
void EndSessions(std::string_view name);
/// Removes the account; its files stay. Its sessions end, as its id is never given away again.
/// Throws when there is none.
void RemoveAccount(std::string_view name);

} // namespace vexo::accounts
