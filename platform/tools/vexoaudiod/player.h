#pragma once
// A player: an MPD and the thread that asks it, so that one that hangs keeps nobody but those who
// ask for it.

#include "vexoaudiod/mpd_queue.h"
#include "vexoaudiod/song_ids.h"
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

namespace vexo::audiod {

struct QueueRequest {
  uint64_t client;
  unsigned offset;
  unsigned limit;
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
  [[nodiscard]] bool Ask(QueueRequest request);
  /// Tells the thread to end, even when it waits for MPD; the destructor waits until it has.
  void End();

private:
  void Run();
  [[nodiscard]] bool Take(QueueRequest &request);
  [[nodiscard]] std::string Answer(const QueueRequest &request);
  void LogOnce(const std::string &failure);

  std::string name_;
  Deliver deliver_;
  MpdQueue queue_;
  SongIds song_ids_;
  std::string last_failure_;
  std::mutex mutex_; ///< guards what follows
  std::condition_variable changed_;
  std::deque<QueueRequest> waiting_;
  bool ends_ = false;
  std::thread thread_; ///< last, as it uses all of it
};

} // namespace vexo::audiod
