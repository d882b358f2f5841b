#pragma once
// The daemon's loop: it takes connections, reads a record from each, and answers it. It never waits
// for a client or a player; each client has a time within which it has to be done with.

#include "files/file_descriptor.h"
#include "vexoaudiod/player.h"
#include "vexoaudiod/record.h"
#include "vexoaudiod/selections.h"
#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <poll.h>
#include <string>
#include <utility>
#include <vector>

namespace vexo::audiod {

/// Replies on their way from the players' threads to the loop, which polls the descriptor.
class Outbox {
public:
  Outbox();
  void Put(uint64_t client, std::string reply);
  std::vector<std::pair<uint64_t, std::string>> TakeAll();
  [[nodiscard]] int descriptor() const { return event_.get(); }

private:
  files::FileDescriptor event_;
  std::mutex mutex_;
  std::vector<std::pair<uint64_t, std::string>> replies_;
};

class Server {
public:
  static constexpr std::size_t kMostClients = 256;
  /// A client has sent its record by then, or is dropped.
  static constexpr std::chrono::seconds kReadingTime{5};
  /// Longest wait for a player; audio_playlist.cgi gives up after the same time.
  static constexpr std::chrono::seconds kWaitingTime{10};

  explicit Server(const std::map<int, PlayerSettings> &players);
  ~Server();
  Server(const Server &) = delete;
  Server &operator=(const Server &) = delete;

  /// Serves those who connect to `listener`, a socket that does not block, until `stop` can be
  /// read.
  void Run(int listener, int stop);

private:
  using Clock = std::chrono::steady_clock;

  struct Client {
    files::FileDescriptor connection;
    std::string record;          ///< what has come so far
    files::FileDescriptor songs; ///< what came with it
    bool waits = false;          ///< for a player
    Clock::time_point deadline;
  };
  using Clients = std::map<uint64_t, Client>; ///< by number, so the oldest first

  [[nodiscard]] std::vector<pollfd> Watched(int stop) const;
  [[nodiscard]] int MillisecondsToDeadline() const;
  void Accept();
  void Add(files::FileDescriptor connection);
  bool MakeRoom();
  void ServeReady(const std::vector<pollfd> &watched);
  void Serve(Clients::iterator client);
  void Handle(Clients::iterator client);
  void Handle(Clients::iterator client, const Refusal &command);
  void Handle(Clients::iterator client, const SelectPlayer &command);
  void Handle(Clients::iterator client, const GetQueue &command);
  void Handle(Clients::iterator client, const ControlPlayer &command);
  void Handle(Clients::iterator client, const LoadSongs &command);
  [[nodiscard]] std::optional<int> SelectedBy(const Client &client);
  template <typename Command> void Tell(Clients::iterator client, const Command &command);
  /// Hands the command to a player, and lets the client wait for its answer. False: too many wait.
  template <typename Command>
  [[nodiscard]] bool Ask(Clients::iterator client, int player, const Command &command);
  void Answer(Clients::iterator client, const std::string &reply);
  void DeliverReplies();
  void DropLate();

  int listener_ = -1;
  Clock::time_point accept_again_{}; ///< no descriptors were left: not before
  Clients clients_;
  uint64_t next_client_ = 0;
  Selections selections_;
  Outbox outbox_;
  std::map<int, std::unique_ptr<Player>> players_; ///< last: its threads use the outbox
};

} // namespace vexo::audiod
