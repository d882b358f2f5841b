#pragma once
// Where exceptions end: a function of platform/include/vexo/ answers with a result value.

#include "playlists/write_playlist.h"
#include "system/limits.h"
#include "system/log.h"
#include <exception>
#include <new>
#include <type_traits>
#include <utility>

namespace vexo::host {

/// Runs `body` and returns its result. If it throws, logs the cause under the name of the calling
/// function and returns `failure`.
template <typename Body>
std::invoke_result_t<Body> Guarded(std::type_identity_t<std::invoke_result_t<Body>> failure,
                                   Body &&body,
                                   const char *operation = __builtin_FUNCTION()) noexcept {
  try {
    return std::forward<Body>(body)();
  } catch (const std::bad_alloc &) {
    system::LogFailure(operation, system::kMemoryUsedUp);
  } catch (const std::exception &error) {
    system::LogFailure(operation, error.what());
  } catch (...) {
    system::LogFailure(operation, "unknown failure");
  }
  return failure;
}

/// The same for what reads songs or rows: what the program makes of a failure must not pass for
/// what is there.
template <typename Body>
std::invoke_result_t<Body> GuardedRead(std::type_identity_t<std::invoke_result_t<Body>> failure,
                                       Body &&body,
                                       const char *operation = __builtin_FUNCTION()) noexcept {
  const auto noted = [&] {
    try {
      return std::forward<Body>(body)();
    } catch (...) {
      playlists::NoteUnread(playlists::Unread::kFailed);
      throw;
    }
  };
  return Guarded(failure, noted, operation);
}

} // namespace vexo::host
