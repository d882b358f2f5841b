#pragma once
// `playlistctl account`. The commands print to the standard output and throw what the accounts
// throw, std::invalid_argument for a name that has no account.

#include "accounts/accounts.h"
#include <string>

namespace vexo::tools {

/// What the command line says about an account.
struct AccountOptions {
  accounts::Account account;
  std::string personal; ///< "on", "off", or empty: not said
  std::string admin;    ///< the same
  bool read_password = false;
};

/// Adds an account, and prints its id and the password that was generated for it.
void AddAccount(const AccountOptions &options);

/// Prints an account a line: id, name, personal library, preference folder, and "admin".
void PrintAccounts();

/// Changes what the options name and keeps the rest.
void ChangeAccount(const AccountOptions &options);

/// Removes the account, its password and what the index knows of its songs; its files stay.
void RemoveAccount(const AccountOptions &options);

/// Sets another password, and prints it when it was generated. All sessions end.
void ChangePassword(const AccountOptions &options);

/// Ends all sessions of the account.
void LogOut(const AccountOptions &options);

} // namespace vexo::tools
