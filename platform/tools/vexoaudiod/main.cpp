// vexoaudiod: the player daemon. It answers the commands of the control socket from the MPDs of the
// configuration.
#include "system/config.h"
#include "system/paths.h"
#include "vexoaudiod/control_socket.h"
#include "vexoaudiod/player_settings.h"
#include "vexoaudiod/server.h"
#include <CLI/CLI.hpp>
#include <cerrno>
#include <csignal>
#include <exception>
#include <string>
#include <sys/signalfd.h>
#include <syslog.h>
#include <system_error>
#include <unistd.h>

namespace {

using namespace vexo;

/// What can be read as soon as the daemon is asked to end. Blocks the signals for this thread and
/// those it starts.
files::FileDescriptor EndSignals() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGTERM);
  sigaddset(&signals, SIGINT);
  sigprocmask(SIG_BLOCK, &signals, nullptr);
  signal(SIGPIPE, SIG_IGN);
  files::FileDescriptor descriptor(signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK));
  if (!descriptor) {
    throw std::system_error(errno, std::generic_category(), "signalfd");
  }
  return descriptor;
}

void Serve(const std::string &group) {
  const files::FileDescriptor stop = EndSignals();
  const std::map<int, audiod::PlayerSettings> players = audiod::ConfiguredPlayers();
  if (players.empty()) {
    syslog(LOG_WARNING, "%s has no [player N] section: there is nothing to ask",
           system::kConfigFile);
  }
  audiod::Server server(players);
  {
    const audiod::ControlSocket socket(system::kPlayerSocket, group);
    server.Run(socket.descriptor(), stop.get());
  }
  // The players' threads hold nothing that has to be put away, and one that waits for the greeting
  // of an MPD cannot be woken.
  _exit(0);
}

} // namespace

int main(int argc, char **argv) {
  openlog("vexoaudiod", LOG_PERROR | LOG_PID, LOG_DAEMON);
  CLI::App app("Answers what is queued on the players, from the MPDs of the configuration.");
  std::string group = system::Setting("vexoaudiod", "group").value_or("");
  app.add_option("--group", group, "the group whose members may connect, besides this user");
  CLI11_PARSE(app, argc, argv);
  try {
    Serve(group);
  } catch (const std::exception &error) {
    syslog(LOG_ERR, "%s", error.what());
    return 1;
  }
  return 0;
}
