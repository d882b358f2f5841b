#pragma once
// How far the scan that brings the index up to date is, or how the last one ended. Scans exclude
// each other by a lock (ScanLock); the state lies in a file beside it, which says nothing that a
// later scan could not say anew: it is replaced whole, and not synced.

#include "files/file_descriptor.h"
#include <cstdint>
#include <optional>
#include <string>

namespace vexo::index {

struct ScanState {
  int64_t started = 0;  ///< seconds since 1970
  int64_t finished = 0; ///< 0: it works, or was ended before its end
  std::string library;  ///< the one at work: "shared", or the user's
  int64_t files_read = 0,
          files_to_read = 0; ///< of that library; those that have not changed count not
  // Songs of all libraries so far.
  int64_t added = 0, changed = 0, moved = 0, gone = 0, unchanged = 0, unreadable = 0;
  bool complete = true; ///< false: a library could not be read whole

  friend bool operator==(const ScanState &, const ScanState &) = default;
};

/// The one scan at work. Throws std::system_error.
class ScanLock {
public:
  ScanLock();
  /// Whether this process has it; else another scan is at work.
  [[nodiscard]] bool IsHeld() const { return held_; }

private:
  files::FileDescriptor file_;
  bool held_ = false;
};

/// Whether a scan is at work.
bool IsScanning();

/// Nothing when none has ever begun, or what stands there is no state.
std::optional<ScanState> ReadScanState();

/// Where it cannot, nobody sees the progress, and the scan goes on.
void WriteScanState(const ScanState &state) noexcept;

} // namespace vexo::index
