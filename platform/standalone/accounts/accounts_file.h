#pragma once
// The text of the accounts file. The first line is the format's name and the next free id, each
// further line an account: id, name, "on" or "off", personal folder, preference folder. Fields are
// separated by tabs; empty lines and lines that begin with '#' are passed over.

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

struct AccountsFile {
  int next_id = 1; ///< above every id that was ever given away
  std::vector<Account> accounts;
};

/// Throws std::runtime_error, with the line, for a text that is none.
AccountsFile ParseAccounts(std::string_view text);
std::string FormatAccounts(const AccountsFile &file);

} // namespace vexo::accounts
