#pragma once
// The queue of one MPD, over a connection that is kept. Used by one thread, but for Abort(). The
// process has to ignore SIGPIPE: libmpdclient writes to a connection that MPD may have closed.

#include "vexoaudiod/player_settings.h"
#include "vexoaudiod/queue_entry.h"
#include <chrono>
#include <cstddef>
#include <memory>
#include <mpd/client.h>
#include <mutex>
#include <stdexcept>
#include <string>
#include <vector>

namespace vexo::audiod {

/// MPD does not answer, or not as it should. Says which and why.
class MpdError : public std::runtime_error {
public:
  MpdError(const std::string &reason, bool has_hung_up)
      : std::runtime_error(reason), has_hung_up_(has_hung_up) {}
  /// The connection was closed at the other end: a new one may do.
  [[nodiscard]] bool has_hung_up() const { return has_hung_up_; }

private:
  bool has_hung_up_;
};

struct QueuePart {
  unsigned total = 0; ///< entries of the whole queue, of the same moment as `entries`
  std::vector<QueueEntry> entries;
};

class MpdQueue {
public:
  /// A Fetch() ends by then, or a line's time-out later, which is before its client gives up.
  static constexpr std::chrono::seconds kAnswerTime{6};
  /// A page of entries has some 100 KiB.
  static constexpr std::size_t kMostAnswerBytes = std::size_t{4} << 20;

  explicit MpdQueue(PlayerSettings settings, std::chrono::seconds answer_time = kAnswerTime);
  ~MpdQueue();
  MpdQueue(const MpdQueue &) = delete;
  MpdQueue &operator=(const MpdQueue &) = delete;

  /// Up to `limit` entries from `offset` on; none when the queue ends before. Connects where there
  /// is no connection, and once more where MPD has closed it. Throws MpdError.
  QueuePart Fetch(unsigned offset, unsigned limit);

  /// The folder that MPD's files lie in, by its name and without links; empty when not known. Both
  /// are of the last connection.
  [[nodiscard]] const std::string &music_directory() const { return music_directory_; }
  [[nodiscard]] const std::string &real_music_directory() const { return real_music_directory_; }

  /// Ends a Fetch() that waits in another thread, and every later one, with an MpdError.
  void Abort();

private:
  struct Close {
    void operator()(mpd_connection *connection) const { mpd_connection_free(connection); }
  };
  using Connection = std::unique_ptr<mpd_connection, Close>;
  struct Return {
    mpd_connection *connection;
    void operator()(mpd_pair *pair) const { mpd_return_pair(connection, pair); }
  };
  using Pair = std::unique_ptr<mpd_pair, Return>;

  QueuePart FetchOnce(unsigned offset, unsigned limit);
  void Connect();
  void Disconnect();
  void FindMusicDirectory();
  /// Reads a line of an answer; null: there is no further one. Every line is read here, as every
  /// line counts: throws where an answer takes too long or is too long.
  [[nodiscard]] Pair NextPair();
  void SkipRest();
  [[nodiscard]] unsigned ReceiveTotal();
  [[nodiscard]] std::vector<QueueEntry> ReceiveEntries(unsigned limit);
  [[nodiscard]] QueueEntry Entry(const mpd_song *song) const;
  void Check(bool success);
  [[nodiscard]] MpdError Failure() const;

  PlayerSettings settings_;
  const std::chrono::seconds answer_time_;
  Connection connection_;
  std::chrono::steady_clock::time_point deadline_; ///< of this Fetch()
  std::size_t bytes_left_ = 0;                     ///< that its answers may still have
  std::string music_directory_, real_music_directory_;
  std::mutex abort_mutex_; ///< guards what follows, and the life of connection_
  bool aborted_ = false;
};

} // namespace vexo::audiod
