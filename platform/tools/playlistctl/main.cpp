// playlistctl: what the owner of the machine does to accounts, libraries and the index. Exit
// status: 0 done, 1 a check found something, 2 failed, 100 and more: the command line was wrong.

#include "playlistctl/account_command.h"
#include "playlistctl/doctor_command.h"
#include "playlistctl/log_command.h"
#include "playlistctl/scan_command.h"
#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <iostream>

namespace {

using AddCommand = void (*)(CLI::App &program);
constexpr AddCommand kCommands[] = {
    vexo::tools::AddAccountCommand,
    vexo::tools::AddScanCommand,
    vexo::tools::AddDoctorCommand,
    vexo::tools::AddLogCommand,
};

} // namespace

int main(int argc, char **argv) {
  CLI::App program("Keeps the accounts, libraries and playlists of this machine.", "playlistctl");
  program.require_subcommand(1);
  for (const AddCommand add : kCommands) {
    add(program);
  }
  try {
    program.parse(argc, argv);
  } catch (const CLI::Error &result) {
    return program.exit(result);
  } catch (const std::exception &error) {
    std::cerr << "playlistctl: " << error.what() << '\n';
    return 2;
  }
  return 0;
}
