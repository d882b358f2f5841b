#pragma once
// Where exceptions end: the host's functions answer with result values.

#include <exception>
#include <utility>

namespace vexo::system {

/// Writes one line to the system log at error priority: "OPERATION: CAUSE".
void LogFailure(const char *operation, const char *cause) noexcept;

/// Runs `body` and returns what it returns; when it throws, logs the whole cause and returns
/// `failure`.
template <typename Result, typename Body>
Result Guarded(const char *operation, Result failure, Body &&body) noexcept {
  try {
    return std::forward<Body>(body)();
  } catch (const std::exception &error) {
    LogFailure(operation, error.what());
  } catch (...) {
    LogFailure(operation, "unknown failure");
  }
  return failure;
}

/// Copies `text` and its terminator into `buffer` of `size` bytes; false, and nothing copied, when
/// it does not fit.
bool CopyOut(const char *text, char *buffer, int size) noexcept;

} // namespace vexo::system
