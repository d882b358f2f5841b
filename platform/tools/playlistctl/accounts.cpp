#include "playlistctl/accounts.h"

#include "accounts/accounts.h"
#include "accounts/passwords.h"
#include "playlistctl/scan/forget_library.h"
#include "system/paths.h"
#include <iostream>
#include <stdexcept>
#include <unistd.h>

namespace vexo::tools {
namespace {

std::string ReadPassword() {
  std::string password;
  std::getline(std::cin, password);
  return password;
}

void SetPasswordAndTell(const AccountOptions &options) {
  if (options.read_password) {
    accounts::SetPassword(options.account.name, ReadPassword());
    return;
  }
  const std::string password = accounts::GeneratePassword();
  accounts::SetPassword(options.account.name, password);
  std::cout << "password: " << password << "\n";
}

} // namespace

void AddAccount(const AccountOptions &options) {
  accounts::Account account = options.account;
  account.personal_library = options.personal == "on";
  account.admin = options.admin == "on";
  const int id = accounts::AddAccount(account);
  try {
    SetPasswordAndTell(options);
  } catch (...) {
    accounts::RemoveAccount(options.account.name);
    throw;
  }
  std::cout << "account: " << options.account.name << "\nid: " << id << "\n";
}

void PrintAccounts() {
  std::vector<accounts::Account> all = accounts::ListAccounts();
  for (const accounts::Account &account : all) {
    std::cout << account.id << "\t" << account.name << "\t"
              << (account.personal_library ? account.personal_folder : "-") << "\t"
              << account.preference_folder << (account.admin ? "\tadmin" : "") << "\n";
  }
}

void ChangeAccount(const AccountOptions &options) {
  accounts::ChangeAccount(options.account.name, [&](accounts::Account &account) {
    if (!options.personal.empty()) {
      account.personal_library = options.personal == "on";
    }
    if (!options.admin.empty()) {
      account.admin = options.admin == "on";
    }
    if (!options.account.personal_folder.empty()) {
      account.personal_folder = options.account.personal_folder;
    }
    if (!options.account.preference_folder.empty()) {
      account.preference_folder = options.account.preference_folder;
    }
  });
}

/// The password goes first: a name that is added again must not be open to who had it before. What
/// the index knows of the user's songs goes last, as a crash leaves that for the doctor.
void RemoveAccount(const AccountOptions &options) {
  const auto account = accounts::FindAccount(options.account.name);
  if (!account) {
    throw std::invalid_argument("there is no account '" + options.account.name + "'");
  }
  accounts::RemovePassword(account->name);
  accounts::RemoveAccount(account->name);
  if (index::HasMediaIndex()) {
    ForgetUser(*index::OpenMediaIndex(), account->id);
  }
}

void ChangePassword(const AccountOptions &options) {
  if (!accounts::FindAccount(options.account.name)) {
    throw std::invalid_argument("there is no account '" + options.account.name + "'");
  }
  SetPasswordAndTell(options);
  // After the password: who logs in by the old one until now is logged out as well.
  accounts::EndSessions(options.account.name);
  // Its cache, see scripts/lighttpd_conf.
  std::cout << "The web server may go by the old password for up to 15 seconds.\n";
}

void LogOut(const AccountOptions &options) { accounts::EndSessions(options.account.name); }

} // namespace vexo::tools
