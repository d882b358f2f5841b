#pragma once
#include <algorithm>
#include <chrono>
#include <thread>

namespace vexo::playlists {

/// A rename moves the file first and writes the row a moment later. Who finds no file at a row's
/// path waits for that moment, with ever longer breaks, and not for ever.
class Patience {
public:
  explicit Patience(std::chrono::milliseconds whole) : left_(whole) {}

  /// Sleeps a little; false, without sleep, when there is no patience left.
  bool Wait() {
    if (left_ <= std::chrono::milliseconds::zero()) {
      return false;
    }
    std::this_thread::sleep_for(step_);
    left_ -= step_;
    step_ = std::min(2 * step_, kLongestStep);
    return true;
  }

private:
  static constexpr std::chrono::milliseconds kLongestStep{64};
  std::chrono::milliseconds left_, step_{1};
};

} // namespace vexo::playlists
