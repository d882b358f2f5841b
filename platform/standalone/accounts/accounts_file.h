#pragma once
// The text of the accounts file. The first line is the format's name and the next free id, each
// further line an account: id, name, "on" or "off", personal folder, preference folder, and behind
// them NAME=VALUE for what is not as it is by default: "admin=on", "generation=3". Fields are
// separated by tabs; empty lines and lines that begin with '#' are passed over.

#include <cstdint>
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
  bool admin = false;            ///< may do what concerns everybody, as starting a scan
  /// Raised whenever the sessions of the account end; a session holds that of its beginning.
  int64_t generation = 0;
  std::string unknown_fields = {}; ///< those of a newer version, each behind its tab, kept as are
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
