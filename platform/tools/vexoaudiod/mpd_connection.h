#pragma once
// A connection to one MPD, which is kept, and what every conversation over it needs: bounds for an
// answer, and an end from outside. Used by one thread, but for Abort(). The process has to ignore
// SIGPIPE: libmpdclient writes to a connection that MPD may have closed.

#include "vexoaudiod/player_settings.h"
#include <chrono>
#include <cstddef>
#include <memory>
#include <mpd/client.h>
#include <mutex>
#include <stdexcept>
#include <string>

namespace vexo::audiod {

/// MPD does not answer, or not as it should. Says which and why.
class MpdError : public std::runtime_error {
public:
  enum class Kind {
    kFailed,
    kHungUp,  ///< the connection was closed at the other end: a new one may do
    kRefused, ///< MPD says that it will not do it
  };

  MpdError(const std::string &reason, Kind kind) : std::runtime_error(reason), kind_(kind) {}
  [[nodiscard]] Kind kind() const { return kind_; }

private:
  Kind kind_;
};

/// How long MPD is waited for. A conversation ends by the time of its answer, or a line's later,
/// which is before its client gives up.
struct Patience {
  std::chrono::seconds line{3};
  std::chrono::seconds answer{6};
  std::chrono::seconds command{9}; ///< for either, once MPD has to do something
};

class MpdConnection {
public:
  /// A page of entries has some 100 KiB.
  static constexpr std::size_t kMostAnswerBytes = std::size_t{4} << 20;

  explicit MpdConnection(PlayerSettings settings, Patience patience = {});
  ~MpdConnection();
  MpdConnection(const MpdConnection &) = delete;
  MpdConnection &operator=(const MpdConnection &) = delete;

  /// Gives what `talk` gives, which sends commands over get() and reads their answers. Connects
  /// where there is no connection, and once more where MPD has closed it. Throws MpdError.
  template <typename Talk> auto Converse(Talk talk) -> decltype(talk()) {
    const bool is_kept = Begin();
    try {
      Connect();
      return talk();
    } catch (const MpdError &error) {
      Disconnect();
      if (!is_kept || error.kind() != MpdError::Kind::kHungUp) {
        throw;
      }
    }
    // MPD was restarted since, or has closed a connection that was idle for too long.
    try {
      Connect();
      return talk();
    } catch (const MpdError &) {
      Disconnect();
      throw;
    }
  }

  /// Ends a conversation that waits in another thread, and every later one, with an MpdError.
  void Abort();

  /// The folder that MPD's files lie in, by its name and without links; empty when not known. Both
  /// are of the last connection.
  [[nodiscard]] const std::string &music_directory() const { return music_directory_; }
  [[nodiscard]] const std::string &real_music_directory() const { return real_music_directory_; }

  // For conversations.

  struct Return {
    mpd_connection *connection;
    void operator()(mpd_pair *pair) const { mpd_return_pair(connection, pair); }
  };
  using Pair = std::unique_ptr<mpd_pair, Return>;

  [[nodiscard]] mpd_connection *get() const { return connection_.get(); }
  /// Has more patience for the rest of the conversation: MPD may hold "next", for instance, until a
  /// short song has ended.
  void ExpectCommand();
  /// Reads a line of an answer; null: there is no further one. Every line is read here, as every
  /// line counts: throws where an answer takes too long or is too long.
  [[nodiscard]] Pair NextPair();
  void SkipRest();
  /// Throws what has gone wrong when something has.
  void Check(bool success) const;

private:
  struct Close {
    void operator()(mpd_connection *connection) const { mpd_connection_free(connection); }
  };

  /// Sets the bounds of a conversation. True: the connection of an earlier one is kept.
  bool Begin();
  void Connect();
  void Open();
  void Disconnect();
  void FindMusicDirectory();
  [[nodiscard]] MpdError Failure() const;

  PlayerSettings settings_;
  const Patience patience_;
  std::unique_ptr<mpd_connection, Close> connection_;
  std::chrono::steady_clock::time_point deadline_; ///< of this conversation
  std::size_t bytes_left_ = 0;                     ///< that its answers may still have
  std::string music_directory_, real_music_directory_;
  std::mutex abort_mutex_; ///< guards what follows, and the life of connection_
  bool aborted_ = false;
};

} // namespace vexo::audiod
