#pragma once
// A program that reads one file and writes into a pipe, for as long as somebody reads it.

#include "files/file_descriptor.h"
#include <chrono>
#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

namespace vexo::system {

/// What it may take; 0: as much as the machine gives.
struct ChildLimits {
  uint64_t memory_bytes = 0; ///< of address space
  uint64_t cpu_seconds = 0;
  int nice = 0; ///< how much behind others it stands
};

/// How a child has ended.
struct ChildEnd {
  int exit_status = -1; ///< -1: ended by `signal`
  int signal = 0;
};

/// The child ends with this object, and with this process however that ends. It has no other file
/// of this process, no environment but a PATH, no standard error, writes no file and gets no
/// privileges.
class ChildProgram {
public:
  /// Starts `path` (absolute, no shell). `input` becomes its standard input. Throws
  /// std::system_error when there can be no further process; a program that is not there ends with
  /// kCannotStart.
  ChildProgram(const std::string &path, const std::vector<std::string> &arguments, int input,
               const ChildLimits &limits);
  ~ChildProgram();
  ChildProgram(const ChildProgram &) = delete;
  ChildProgram &operator=(const ChildProgram &) = delete;

  static constexpr int kCannotStart = 127;

  /// The reading end of its standard output.
  [[nodiscard]] int output() const { return output_.get(); }
  /// Reads its output to the end. Nothing when it has not ended within `patience`, or wrote more
  /// than `most_bytes`.
  std::optional<std::string> ReadAll(std::size_t most_bytes, std::chrono::milliseconds patience);
  /// Waits for its end, which comes soon once its output is read or closed.
  ChildEnd Wait();

private:
  files::FileDescriptor output_;
  pid_t process_ = -1; ///< -1: it has been waited for
};

} // namespace vexo::system
