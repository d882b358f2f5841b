#pragma once
// A player: an MPD and the thread that asks it, so that one that hangs keeps nobody but those who
// ask for it.

#include "files/file_descriptor.h"
#include "vexoaudiod/mpd_connection.h"
#include "vexoaudiod/record.h"
#include "vexoaudiod/song_ids.h"
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <exception>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <variant>

namespace vexo::audiod {

struct PlayerRequest {
  uint64_t client;
  std::variant<GetQueue, ControlPlayer, LoadSongs> command;
  files::FileDescriptor songs;                    ///< of LoadSongs
  std::chrono::steady_clock::time_point deadline; ///< afterwards nobody waits for it any more
};

class Player {
public:
  /// Requests beyond this are refused.
  static constexpr std::size_t kMostWaiting = 64;
  /// Takes the reply for a client; called from the player's thread.
  using Deliver = std::function<void(uint64_t client, std::string reply)>;

  Player(std::string name, PlayerSettings settings, Deliver deliver);
  ~Player();
  Player(const Player &) = delete;
  Player &operator=(const Player &) = delete;

  /// False: too many are waiting.
  [[nodiscard]] bool Ask(PlayerRequest request);
  /// Tells the thread to end, even when it waits for MPD; the destructor waits until it has.
  void End();

private:
  void Run();
  [[nodiscard]] bool Take(PlayerRequest &request);
  [[nodiscard]] std::string Answer(const PlayerRequest &request);
  [[nodiscard]] std::string Answer(const GetQueue &command, const PlayerRequest &request);
  [[nodiscard]] std::string Answer(const ControlPlayer &command, const PlayerRequest &request);
  [[nodiscard]] std::string Answer(const LoadSongs &command, const PlayerRequest &request);
  [[nodiscard]] std::string Fail(const PlayerRequest &request, const std::exception &error);
  void LogOnce(const std::string &failure);

  std::string name_;
  Deliver deliver_;
  MpdConnection mpd_;
  SongIds song_ids_;
  std::string last_failure_;
  std::mutex mutex_; ///< guards what follows
  std::condition_variable changed_;
  std::deque<PlayerRequest> waiting_;
  bool ends_ = false;
  std::thread thread_; ///< last, as it uses all of it
};

} // namespace vexo::audiod
