#include "vexoaudiod/player.h"
#include "vexoaudiod/mpd_controls.h"
#include "vexoaudiod/mpd_queue.h"
#include "vexoaudiod/reply.h"
#include "vexoaudiod/song_list.h"
#include <algorithm>
#include <exception>
#include <syslog.h>
#include <utility>

namespace vexo::audiod {

namespace {

/// Asking for more than fits a page would only be thrown away.
constexpr unsigned kMostEntries = 64;

bool IsQueueRequest(const PlayerRequest &request) {
  return std::holds_alternative<GetQueue>(request.command);
}

} // namespace

Player::Player(std::string name, PlayerSettings settings, Deliver deliver)
    : name_(std::move(name)), deliver_(std::move(deliver)), mpd_(std::move(settings)),
      thread_([this] { Run(); }) {}

Player::~Player() {
  End();
  thread_.join();
}

void Player::End() {
  {
    const std::lock_guard lock(mutex_);
    ends_ = true;
  }
  changed_.notify_one();
  mpd_.Abort();
}

bool Player::Ask(PlayerRequest request) {
  {
    const std::lock_guard lock(mutex_);
    if (waiting_.size() >= kMostWaiting) {
      return false;
    }
    waiting_.push_back(std::move(request));
  }
  changed_.notify_one();
  return true;
}

void Player::Run() {
  PlayerRequest request{0, GetQueue{}, files::FileDescriptor(), {}};
  while (Take(request)) {
    if (std::chrono::steady_clock::now() < request.deadline) {
      deliver_(request.client, Answer(request));
    }
  }
}

bool Player::Take(PlayerRequest &request) {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [this] { return ends_ || !waiting_.empty(); });
  if (ends_) {
    return false;
  }
  request = std::move(waiting_.front());
  waiting_.pop_front();
  return true;
}

std::string Player::Answer(const PlayerRequest &request) {
  try {
    std::string reply =
        std::visit([&](const auto &command) { return Answer(command, request); }, request.command);
    last_failure_.clear();
    return reply;
  } catch (const MpdError &error) {
    if (error.kind() == MpdError::Kind::kRefused && !IsQueueRequest(request)) {
      return RefusedReply(error.what());
    }
    return Fail(request, error);
  } catch (const std::exception &error) {
    return Fail(request, error);
  }
}

std::string Player::Fail(const PlayerRequest &request, const std::exception &error) {
  LogOnce(error.what());
  return IsQueueRequest(request) ? QueueErrorReply(error.what()) : ErrorReply(error.what());
}

std::string Player::Answer(const GetQueue &command, const PlayerRequest & /*request*/) {
  QueuePart part = FetchQueue(mpd_, command.offset, std::min(command.limit, kMostEntries));
  song_ids_.Complete(part.entries, mpd_);
  return QueueReply(part.entries, part.total);
}

std::string Player::Answer(const ControlPlayer &command, const PlayerRequest & /*request*/) {
  PlayerStatus status = ControlMpd(mpd_, command);
  song_ids_.Complete(status.song, mpd_);
  return StatusReply(status);
}

std::string Player::Answer(const LoadSongs &command, const PlayerRequest &request) {
  return LoadReply(LoadIntoMpd(mpd_, ReadSongs(request.songs), command.place, command.begin));
}

void Player::LogOnce(const std::string &failure) {
  if (failure != last_failure_) {
    syslog(LOG_ERR, "player %s: %s", name_.c_str(), failure.c_str());
    last_failure_ = failure;
  }
}

} // namespace vexo::audiod
