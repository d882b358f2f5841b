#include "playlistctl/account_command.h"

#include "accounts/accounts.h"
#include "accounts/passwords.h"
#include "scan/forget_library.h"
#include "system/paths.h"
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <CLI/Option.hpp>
#include <algorithm>
#include <iostream>
#include <memory>
#include <unistd.h>

namespace vexo::tools {
namespace {

/// What the command line says about an account.
struct Options {
  accounts::Account account;
  std::string personal; ///< "on", "off", or empty: not said
  bool read_password = false;
};

void AddFolderOptions(CLI::App &command, Options &options) {
  command.add_option("--personal", options.personal, "Whether the user has a personal library")
      ->check(CLI::IsMember({"on", "off"}));
  command.add_option("--personal-folder", options.account.personal_folder,
                     "The folder of the personal library");
  command.add_option("--preference-folder", options.account.preference_folder,
                     "The folder for playlists of a user without a personal library");
}

void AddName(CLI::App &command, Options &options) {
  command.add_option("name", options.account.name, "The account's name")->required();
}

void AddPasswordOption(CLI::App &command, Options &options) {
  command.add_flag("--password-stdin", options.read_password,
                   "Read the password from the standard input, not generate one");
}

std::string ReadPassword() {
  std::string password;
  std::getline(std::cin, password);
  return password;
}

void SetPasswordAndTell(const Options &options) {
  if (options.read_password) {
    accounts::SetPassword(options.account.name, ReadPassword());
    return;
  }
  const std::string password = accounts::GeneratePassword();
  accounts::SetPassword(options.account.name, password);
  std::cout << "password: " << password << "\n";
}

void Add(Options &options) {
  options.account.personal_library = options.personal == "on";
  const int id = accounts::AddAccount(options.account);
  try {
    SetPasswordAndTell(options);
  } catch (...) {
    accounts::RemoveAccount(options.account.name);
    throw;
  }
  std::cout << "account: " << options.account.name << "\nid: " << id << "\n";
}

void List() {
  std::vector<accounts::Account> all = accounts::ListAccounts();
  for (const accounts::Account &account : all) {
    std::cout << account.id << "\t" << account.name << "\t"
              << (account.personal_library ? account.personal_folder : "-") << "\t"
              << account.preference_folder << "\n";
  }
}

void Set(const Options &options) {
  accounts::ChangeAccount(options.account.name, [&](accounts::Account &account) {
    if (!options.personal.empty()) {
      account.personal_library = options.personal == "on";
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
void Remove(const Options &options) {
  const auto account = accounts::FindAccount(options.account.name);
  if (!account) {
    throw std::invalid_argument("there is no account '" + options.account.name + "'");
  }
  accounts::RemovePassword(account->name);
  accounts::RemoveAccount(account->name);
  if (access(system::kIndexFile, F_OK) == 0) {
    ForgetLibrary(*index::OpenMediaIndex(), account->id);
  }
}

void ChangePassword(const Options &options) {
  if (!accounts::FindAccount(options.account.name)) {
    throw std::invalid_argument("there is no account '" + options.account.name + "'");
  }
  SetPasswordAndTell(options);
}

} // namespace

void AddAccountCommand(CLI::App &program) {
  CLI::App &account = *program.add_subcommand("account", "The users of the server");
  account.require_subcommand(1);
  const auto options = std::make_shared<Options>();

  CLI::App &add = *account.add_subcommand("add", "Adds an account");
  AddName(add, *options);
  AddFolderOptions(add, *options);
  AddPasswordOption(add, *options);
  add.callback([options] { Add(*options); });

  account.add_subcommand("list", "Lists id, name, personal library and preference folder")
      ->callback(List);

  CLI::App &set = *account.add_subcommand("set", "Changes an account");
  AddName(set, *options);
  AddFolderOptions(set, *options);
  set.callback([options] { Set(*options); });

  CLI::App &remove = *account.add_subcommand("remove", "Removes an account; its files stay");
  AddName(remove, *options);
  remove.callback([options] { Remove(*options); });

  CLI::App &password = *account.add_subcommand("passwd", "Gives an account another password");
  AddName(password, *options);
  AddPasswordOption(password, *options);
  password.callback([options] { ChangePassword(*options); });
}

} // namespace vexo::tools
