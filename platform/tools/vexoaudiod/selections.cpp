#include "vexoaudiod/selections.h"
#include <algorithm>
#include <fstream>
#include <sstream>
#include <string>
#include <sys/socket.h>

namespace vexo::audiod {

namespace {

/// Field 22 of /proc/PID/stat (proc(5)). The second is a name in parentheses that may hold
/// anything.
std::optional<uint64_t> StartTime(pid_t pid) {
  std::ifstream file("/proc/" + std::to_string(pid) + "/stat");
  std::string line;
  std::getline(file, line, '\0');
  const std::size_t name_end = line.rfind(')');
  if (name_end == std::string::npos) {
    return std::nullopt;
  }
  std::istringstream fields(line.substr(name_end + 1));
  std::string field;
  for (int number = 3; number < 22; ++number) {
    fields >> field;
  }
  uint64_t start_time = 0;
  return fields >> start_time ? std::optional(start_time) : std::nullopt;
}

} // namespace

std::optional<ProcessId> PeerProcess(int connection) {
  ucred peer{};
  socklen_t size = sizeof peer;
  if (getsockopt(connection, SOL_SOCKET, SO_PEERCRED, &peer, &size) != 0 || peer.pid <= 0) {
    return std::nullopt;
  }
  const std::optional<uint64_t> start_time = StartTime(peer.pid);
  return start_time.has_value() ? std::optional(ProcessId{peer.pid, *start_time}) : std::nullopt;
}

void Selections::Select(ProcessId process, int player, Clock::time_point now) {
  DropOld(now);
  selections_[process.pid] = {process.start_time, player, now};
  if (selections_.size() > kMost) {
    selections_.erase(
        std::min_element(selections_.begin(), selections_.end(), [](const auto &a, const auto &b) {
          return a.second.used < b.second.used;
        }));
  }
}

void Selections::Forget(ProcessId process) { selections_.erase(process.pid); }

std::optional<int> Selections::Selected(ProcessId process, Clock::time_point now) {
  DropOld(now);
  const auto found = selections_.find(process.pid);
  if (found == selections_.end() || found->second.start_time != process.start_time) {
    return std::nullopt;
  }
  found->second.used = now;
  return found->second.player;
}

void Selections::DropOld(Clock::time_point now) {
  std::erase_if(selections_, [now](const auto &entry) { return now - entry.second.used > kKept; });
}

} // namespace vexo::audiod
