#pragma once
// The users of the server, one a line in kAccountsFile. The file is read at each question, as a
// process asks once or twice; it is replaced whole. Reading functions throw nothing for a file that
// is not there (no users) and std::runtime_error, with file and line, for one that is damaged.

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vexo::accounts {

struct Account {
  std::string name;
  int id = 0; ///< positive, never given to another account
  bool personal_library = false;
  std::string personal_folder;   ///< absolute, no trailing '/'
  std::string preference_folder; ///< absolute, no trailing '/'
};

/// Whether `name` can be an account's: [A-Za-z0-9._-]{1,64}, but not "." or "..".
bool IsAccountName(std::string_view name);

std::vector<Account> ListAccounts();
std::optional<Account> FindAccount(std::string_view name);
std::optional<Account> FindAccount(int id);

/// Adds an account (its `id` is ignored) and gives its new id; empty folders get their defaults below
/// kHomes and kPreferences. Makes the folders. Throws when the name is bad or taken.
int AddAccount(Account account);
/// Rewrites the account of that name, its id kept. Throws when there is none.
void SetAccount(const Account &account);
/// Removes the account; its files stay. Throws when there is none.
void RemoveAccount(std::string_view name);

} // namespace vexo::accounts
