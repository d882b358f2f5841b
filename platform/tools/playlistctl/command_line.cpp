// The only source that includes CLI11: it takes longer to compile than all others together.
#include "playlistctl/command_line.h"

#include "playlistctl/accounts.h"
#include "playlistctl/doctor/doctor.h"
#include "playlistctl/log.h"
#include "playlistctl/move_index.h"
#include "playlistctl/scan/scan_libraries.h"
#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <CLI/Option.hpp>
#include <algorithm>
#include <cstddef>
#include <iostream>
#include <memory>
#include <utility>

namespace vexo::tools {
namespace {

constexpr int kFound = 1; ///< the exit status of a check that found something

void AddAccountOptions(CLI::App &command, AccountOptions &options) {
  command.add_option("--personal", options.personal, "Whether the user has a personal library")
      ->check(CLI::IsMember({"on", "off"}));
  command.add_option("--admin", options.admin, "Whether the user may do what concerns everybody")
      ->check(CLI::IsMember({"on", "off"}));
  command.add_option("--personal-folder", options.account.personal_folder,
                     "The folder of the personal library");
  command.add_option("--preference-folder", options.account.preference_folder,
                     "The folder for playlists of a user without a personal library");
}

void AddName(CLI::App &command, AccountOptions &options) {
  command.add_option("name", options.account.name, "The account's name")->required();
}

void AddPasswordOption(CLI::App &command, AccountOptions &options) {
  command.add_flag("--password-stdin", options.read_password,
                   "Read the password from the standard input, not generate one");
}

void AddAccountCommand(CLI::App &program) {
  CLI::App &account = *program.add_subcommand("account", "The users of the server");
  account.require_subcommand(1);
  const auto options = std::make_shared<AccountOptions>();

  CLI::App &add = *account.add_subcommand("add", "Adds an account");
  AddName(add, *options);
  AddAccountOptions(add, *options);
  AddPasswordOption(add, *options);
  add.callback([options] { AddAccount(*options); });

  account
      .add_subcommand("list",
                      "Lists id, name, personal library, preference folder, and who is admin")
      ->callback(PrintAccounts);

  CLI::App &set = *account.add_subcommand("set", "Changes an account");
  AddName(set, *options);
  AddAccountOptions(set, *options);
  set.callback([options] { ChangeAccount(*options); });

  CLI::App &remove = *account.add_subcommand("remove", "Removes an account; its files stay");
  AddName(remove, *options);
  remove.callback([options] { RemoveAccount(*options); });

  CLI::App &password =
      *account.add_subcommand("passwd", "Gives an account another password, and ends its sessions");
  AddName(password, *options);
  AddPasswordOption(password, *options);
  password.callback([options] { ChangePassword(*options); });

  CLI::App &log_out = *account.add_subcommand("logout", "Ends all sessions of an account");
  AddName(log_out, *options);
  log_out.callback([options] { LogOut(*options); });
}

void AddScanCommand(CLI::App &program) {
  struct Options {
    std::string library;
    bool forget_all = false;
  };
  const auto options = std::make_shared<Options>();
  CLI::App *const command =
      program.add_subcommand("scan", "Brings the index up to date with the files of the libraries");
  command->add_option("--library", options->library,
                      "Only this library: \"shared\", or a user's personal one");
  command->add_flag("--forget-all", options->forget_all,
                    "Forget the songs of a library that is empty, not only keep them");
  command->callback([options] {
    if (!ScanLibraries(options->library, options->forget_all)) {
      throw CLI::RuntimeError(kFound);
    }
  });
}

void AddDoctorCommand(CLI::App &program) {
  const auto options = std::make_shared<DoctorOptions>();
  CLI::App *const command = program.add_subcommand(
      "doctor", "Compares files and index, and finds what crashes have left");
  command->add_flag("--repair", options->repair, "Mend what is found");
  command->callback([options] {
    StreamOutput output(std::cout, 0);
    if (ExamineHost(*options, output) > 0) {
      throw CLI::RuntimeError(kFound);
    }
    output.Line("all is well");
  });
}

void AddIndexCommand(CLI::App &program) {
  CLI::App &index = *program.add_subcommand("index", "Where the index is kept");
  index.require_subcommand(1);
  CLI::App &move = *index.add_subcommand(
      "move", "Copies the index into another one, which must be empty, with all ids");
  const auto url = std::make_shared<std::string>();
  move.add_option("--to", *url, "postgresql://..., or the path of a file")->required();
  move.callback([url] { MoveIndex(*url); });
}

void AddLogCommand(CLI::App &program) {
  CLI::App &log = *program.add_subcommand("log", "Prints the administrative log");
  const auto count = std::make_shared<std::size_t>(0);
  log.add_option("-n,--last", *count, "Only so many of the last events");
  log.callback([count] { PrintLog(*count); });
}

} // namespace

int RunCommandLine(std::vector<std::string> arguments) {
  CLI::App program("Keeps the accounts, libraries and playlists of this machine.", "playlistctl");
  program.require_subcommand(1);
  AddAccountCommand(program);
  AddScanCommand(program);
  AddDoctorCommand(program);
  AddIndexCommand(program);
  AddLogCommand(program);
  std::reverse(arguments.begin(), arguments.end()); // as CLI11 takes them
  try {
    program.parse(std::move(arguments));
  } catch (const CLI::Error &result) {
    return program.exit(result);
  }
  return 0;
}

} // namespace vexo::tools
