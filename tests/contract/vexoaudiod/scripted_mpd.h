#pragma once
// An MPD for tests: it speaks the protocol's frame on a real socket (lines, command lists, one
// connection after the other) and answers what the test says. What it was sent is kept.

#include <functional>
#include <mutex>
#include <poll.h>
#include <stdexcept>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

class ScriptedMpd {
public:
  /// Gives the answer to a command, or to a whole command list (its lines joined by '|'). The
  /// answer kHang: none, until the client goes; kClose: the connection is closed.
  using Answer = std::function<std::string(const std::string &command)>;
  static constexpr const char *kHang = "hang";
  static constexpr const char *kClose = "close";

  ScriptedMpd(std::string path, Answer answer, std::string welcome = "OK MPD 0.23.5\n")
      : path_(std::move(path)), answer_(std::move(answer)), welcome_(std::move(welcome)),
        listener_(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path_.copy(address.sun_path, sizeof address.sun_path - 1);
    if (bind(listener_, reinterpret_cast<sockaddr *>(&address), sizeof address) != 0 ||
        listen(listener_, 16) != 0 || pipe(stop_) != 0) {
      throw std::runtime_error("no socket at " + path_);
    }
    thread_ = std::thread([this] { Run(); });
  }
  ~ScriptedMpd() {
    close(stop_[1]);
    thread_.join();
    close(stop_[0]);
    close(listener_);
    unlink(path_.c_str());
  }
  ScriptedMpd(const ScriptedMpd &) = delete;
  ScriptedMpd &operator=(const ScriptedMpd &) = delete;

  std::vector<std::string> Commands() {
    const std::lock_guard lock(mutex_);
    return commands_;
  }
  int Connections() {
    const std::lock_guard lock(mutex_);
    return connections_;
  }

private:
  /// False: the test is over.
  bool WaitFor(int descriptor, short events) const {
    pollfd waits[] = {{descriptor, events, 0}, {stop_[0], POLLIN, 0}};
    poll(waits, 2, -1);
    return waits[1].revents == 0;
  }

  void Run() {
    while (WaitFor(listener_, POLLIN)) {
      const int connection = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
      {
        const std::lock_guard lock(mutex_);
        ++connections_;
      }
      Converse(connection);
      close(connection);
    }
  }

  void Converse(int connection) {
    Say(connection, welcome_);
    std::string pending;
    std::string list;
    char bytes[4096];
    while (WaitFor(connection, POLLIN)) {
      const ssize_t count = read(connection, bytes, sizeof bytes);
      if (count <= 0) {
        return;
      }
      pending.append(bytes, static_cast<std::size_t>(count));
      for (std::size_t end = 0; (end = pending.find('\n')) != std::string::npos;) {
        const std::string line = pending.substr(0, end);
        pending.erase(0, end + 1);
        if (!Obey(connection, line, list)) {
          return;
        }
      }
    }
  }

  bool Obey(int connection, const std::string &line, std::string &list) {
    if (line == "command_list_ok_begin" || line == "command_list_begin") {
      list = "|";
      return true;
    }
    if (!list.empty() && line != "command_list_end") {
      list += list == "|" ? line : "|" + line;
      return true;
    }
    const std::string command = list.empty() ? line : list.substr(1);
    list.clear();
    {
      const std::lock_guard lock(mutex_);
      commands_.push_back(command);
    }
    const std::string answer = answer_(command);
    if (answer == kHang) {
      WaitFor(connection, POLLRDHUP);
      return false;
    }
    Say(connection, answer);
    return answer != kClose;
  }

  static void Say(int connection, const std::string &text) {
    if (text != kClose && send(connection, text.data(), text.size(), MSG_NOSIGNAL) < 0) {
      return; // the client has gone, which is its right
    }
  }

  std::string path_;
  Answer answer_;
  std::string welcome_;
  int listener_;
  int stop_[2] = {-1, -1};
  std::mutex mutex_;
  std::vector<std::string> commands_;
  int connections_ = 0;
  std::thread thread_;
};

/// The queue of `total` files "PREFIX/0.mp3", ... of an MPD whose folder is /music.
inline ScriptedMpd::Answer QueueOfFiles(unsigned total, const std::string &prefix = "a") {
  return [total, prefix](const std::string &command) -> std::string {
    unsigned first = 0;
    unsigned end = 0;
    if (command == "config") {
      return "music_directory: /music\nOK\n";
    }
    if (sscanf(command.c_str(), "status|playlistinfo \"%u:%u\"", &first, &end) != 2 &&
        sscanf(command.c_str(), "status|playlistinfo %u:%u", &first, &end) != 2) {
      return "OK\n";
    }
    std::string answer = "playlistlength: " + std::to_string(total) + "\nstate: stop\nlist_OK\n";
    if (first > total) {
      return answer + "ACK [2@1] {playlistinfo} Bad song index\n";
    }
    for (unsigned number = first; number < std::min(end, total); ++number) {
      answer += "file: " + prefix + "/" + std::to_string(number) +
                ".mp3\nPos: " + std::to_string(number) + "\nId: " + std::to_string(number + 1) +
                "\n";
    }
    return answer + "list_OK\nOK\n";
  };
}
