#pragma once
// A player daemon for tests: it listens on a real socket, keeps the bytes that it is sent, and does
// with each connection what the test says.

#include <cstring>
#include <functional>
#include <mutex>
#include <poll.h>
#include <stdexcept>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>
#include <vector>

class ScriptedDaemon {
public:
  static constexpr std::size_t kRecordSize = 8196;

  /// One connection: the record that came (its first bytes when the client sent no more), and the
  /// means to answer it. It is closed when the answer returns.
  struct Command {
    int connection;
    std::string record;

    [[nodiscard]] int32_t code() const {
      int32_t code = 0;
      memcpy(&code, record.data(), sizeof code);
      return code;
    }
    [[nodiscard]] std::string argument() const { return record.c_str() + sizeof(int32_t); }
    void Say(const std::string &bytes) const {
      if (sendto(connection, bytes.data(), bytes.size(), MSG_NOSIGNAL, nullptr, 0) < 0) {
        return; // the client has gone, which is its right
      }
    }
    /// Until the client closes its end.
    void WaitForHangUp() const {
      pollfd hang_up{connection, POLLRDHUP, 0};
      poll(&hang_up, 1, -1);
    }
  };
  using Answer = std::function<void(const Command &)>;

  ScriptedDaemon(const std::string &path, Answer answer)
      : answer_(std::move(answer)), listener_(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    unlink(path.c_str());
    if (bind(listener_, reinterpret_cast<sockaddr *>(&address), sizeof address) != 0 ||
        listen(listener_, 16) != 0 || pipe(stop_) != 0) {
      throw std::runtime_error("no socket at " + path);
    }
    thread_ = std::thread([this] { Run(); });
  }
  ~ScriptedDaemon() {
    close(stop_[1]);
    thread_.join();
    close(stop_[0]);
    close(listener_);
  }
  ScriptedDaemon(const ScriptedDaemon &) = delete;
  ScriptedDaemon &operator=(const ScriptedDaemon &) = delete;

  /// The commands so far, as "CODE ARGUMENT".
  std::vector<std::string> Commands() {
    const std::lock_guard lock(mutex_);
    return commands_;
  }
  /// The bytes that the last connection brought.
  std::string LastRecord() {
    const std::lock_guard lock(mutex_);
    return last_record_;
  }

private:
  void Run() {
    for (;;) {
      pollfd waits[] = {{listener_, POLLIN, 0}, {stop_[0], POLLIN, 0}};
      poll(waits, 2, -1);
      if (waits[1].revents != 0) {
        return;
      }
      Serve(accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC));
    }
  }

  void Serve(int connection) {
    std::string record(kRecordSize, '\0');
    std::size_t length = 0;
    ssize_t part = 0;
    while (length < kRecordSize &&
           (part = read(connection, record.data() + length, kRecordSize - length)) > 0) {
      length += static_cast<std::size_t>(part);
    }
    const Command command{connection, record};
    if (length > 0) {
      const std::lock_guard lock(mutex_);
      last_record_ = record.substr(0, length);
      commands_.push_back(std::to_string(command.code()) + " " + command.argument());
    }
    answer_(command);
    close(connection);
  }

  Answer answer_;
  int listener_;
  int stop_[2] = {-1, -1};
  std::mutex mutex_;
  std::vector<std::string> commands_;
  std::string last_record_;
  std::thread thread_;
};
