#include "vexoaudiod/player.h"
#include "vexoaudiod/reply.h"
#include <algorithm>
#include <exception>
#include <syslog.h>
#include <utility>

namespace vexo::audiod {

namespace {

/// Asking for more than fits a page would only be thrown away.
constexpr unsigned kMostEntries = 64;

} // namespace

Player::Player(std::string name, PlayerSettings settings, Deliver deliver)
    : name_(std::move(name)), deliver_(std::move(deliver)), queue_(std::move(settings)),
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
  queue_.Abort();
}

bool Player::Ask(QueueRequest request) {
  {
    const std::lock_guard lock(mutex_);
    if (waiting_.size() >= kMostWaiting) {
      return false;
    }
    waiting_.push_back(request);
  }
  changed_.notify_one();
  return true;
}

void Player::Run() {
  QueueRequest request{};
  while (Take(request)) {
    if (std::chrono::steady_clock::now() < request.deadline) {
      deliver_(request.client, Answer(request));
    }
  }
}

bool Player::Take(QueueRequest &request) {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [this] { return ends_ || !waiting_.empty(); });
  if (ends_) {
    return false;
  }
  request = waiting_.front();
  waiting_.pop_front();
  return true;
}

std::string Player::Answer(const QueueRequest &request) {
  try {
    QueuePart part = queue_.Fetch(request.offset, std::min(request.limit, kMostEntries));
    song_ids_.Complete(part.entries, queue_);
    last_failure_.clear();
    return QueueReply(part.entries, part.total);
  } catch (const std::exception &error) {
    LogOnce(error.what());
    return QueueErrorReply(error.what());
  }
}

void Player::LogOnce(const std::string &failure) {
  if (failure != last_failure_) {
    syslog(LOG_ERR, "player %s: %s", name_.c_str(), failure.c_str());
    last_failure_ = failure;
  }
}

} // namespace vexo::audiod
