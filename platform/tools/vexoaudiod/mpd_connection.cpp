#include "vexoaudiod/mpd_connection.h"
#include <cstring>
#include <filesystem>
#include <string_view>
#include <sys/socket.h>
#include <system_error>
#include <utility>

namespace vexo::audiod {

namespace {

unsigned Milliseconds(std::chrono::seconds time) {
  return static_cast<unsigned>(std::chrono::milliseconds(time).count());
}

std::string WithoutLinks(const std::string &path) {
  std::error_code error;
  const std::filesystem::path real = std::filesystem::canonical(path, error);
  return error ? path : real.string();
}

} // namespace

MpdConnection::MpdConnection(PlayerSettings settings, Patience patience)
    : settings_(std::move(settings)), patience_(patience) {}

MpdConnection::~MpdConnection() { Disconnect(); }

void MpdConnection::Abort() {
  const std::lock_guard lock(abort_mutex_);
  aborted_ = true;
  if (connection_ != nullptr) {
    shutdown(mpd_connection_get_fd(connection_.get()), SHUT_RDWR);
  }
}

bool MpdConnection::Begin() {
  deadline_ = std::chrono::steady_clock::now() + patience_.answer;
  bytes_left_ = kMostAnswerBytes;
  if (connection_ == nullptr) {
    return false;
  }
  mpd_connection_set_timeout(connection_.get(), Milliseconds(patience_.line));
  return true;
}

void MpdConnection::Connect() {
  if (connection_ == nullptr) {
    Open();
    FindMusicDirectory();
  }
}

void MpdConnection::Open() {
  const bool is_socket = settings_.host.starts_with('/') || settings_.host.starts_with('@');
  std::unique_ptr<mpd_connection, Close> connection(mpd_connection_new(
      settings_.host.c_str(), is_socket ? 0 : settings_.port, Milliseconds(patience_.line)));
  {
    const std::lock_guard lock(abort_mutex_);
    connection_ = std::move(connection);
    if (aborted_ || connection_ == nullptr) {
      throw MpdError(aborted_ ? "the daemon ends" : "no memory", MpdError::Kind::kFailed);
    }
  }
  Check(mpd_connection_get_error(connection_.get()) == MPD_ERROR_SUCCESS);
  mpd_connection_set_keepalive(connection_.get(), true);
  if (!settings_.partition.empty()) {
    Check(mpd_send_switch_partition(connection_.get(), settings_.partition.c_str()));
    SkipRest();
    Check(mpd_response_finish(connection_.get()));
  }
}

void MpdConnection::Disconnect() {
  const std::lock_guard lock(abort_mutex_);
  connection_.reset();
}

/// MPD tells its folder only to clients on its own machine that come through a socket file.
void MpdConnection::FindMusicDirectory() {
  music_directory_ = settings_.music_directory;
  if (music_directory_.empty()) {
    Check(mpd_send_command(connection_.get(), "config", nullptr));
    while (const Pair pair = NextPair()) {
      if (pair->name == std::string_view("music_directory")) {
        music_directory_ = pair->value;
      }
    }
    const bool is_told = mpd_response_finish(connection_.get());
    Check(is_told || mpd_connection_clear_error(connection_.get()));
  }
  real_music_directory_ = music_directory_.empty() ? "" : WithoutLinks(music_directory_);
}

void MpdConnection::ExpectCommand() {
  deadline_ = std::chrono::steady_clock::now() + patience_.command;
  mpd_connection_set_timeout(connection_.get(), Milliseconds(patience_.command));
}

MpdConnection::Pair MpdConnection::NextPair() {
  mpd_connection *const connection = connection_.get();
  Pair pair(mpd_recv_pair(connection), Return{connection});
  if (pair) {
    const std::size_t size = std::strlen(pair->name) + std::strlen(pair->value);
    if (size >= bytes_left_) {
      throw MpdError("an answer that is too long", MpdError::Kind::kFailed);
    }
    bytes_left_ -= size;
    if (std::chrono::steady_clock::now() > deadline_) {
      throw MpdError("an answer that takes too long", MpdError::Kind::kFailed);
    }
  }
  return pair;
}

void MpdConnection::SkipRest() {
  while (NextPair()) {
  }
}

void MpdConnection::Check(bool success) const {
  if (!success) {
    throw Failure();
  }
}

MpdError MpdConnection::Failure() const {
  const mpd_error error = mpd_connection_get_error(connection_.get());
  if (error == MPD_ERROR_SUCCESS) {
    return {"an answer that is none", MpdError::Kind::kFailed};
  }
  const bool has_hung_up = error == MPD_ERROR_CLOSED || error == MPD_ERROR_SYSTEM;
  return {mpd_connection_get_error_message(connection_.get()), has_hung_up ? MpdError::Kind::kHungUp
                                                               : error == MPD_ERROR_SERVER
                                                                   ? MpdError::Kind::kRefused
                                                                   : MpdError::Kind::kFailed};
}

} // namespace vexo::audiod
