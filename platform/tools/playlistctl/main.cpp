// playlistctl: what the owner of the machine does to accounts, libraries and the index. Exit
// status: 0 done, 1 a check found something, 2 failed, 100 and more: the command line was wrong.

#include "playlistctl/command_line.h"
#include <exception>
#include <iostream>

int main(int argc, char **argv) {
  try {
    return vexo::tools::RunCommandLine({argv + 1, argv + argc});
  } catch (const std::exception &error) {
    std::cerr << "playlistctl: " << error.what() << '\n';
    return 2;
  }
}
