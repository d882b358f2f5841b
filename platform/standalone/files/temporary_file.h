#pragma once
// Temporary files, and those that a crash has left.

#include "files/folder.h"
#include <string>
#include <string_view>

namespace vexo::files {

/// A new file of a temporary name, open for writing and locked; removed by the destructor unless
/// its name was given away.
class TemporaryFile {
public:
  TemporaryFile(const Folder &folder, mode_t mode);
  ~TemporaryFile();
  TemporaryFile(const TemporaryFile &) = delete;
  TemporaryFile &operator=(const TemporaryFile &) = delete;

  [[nodiscard]] int fd() const { return fd_.get(); }
  [[nodiscard]] const char *name() const { return name_.c_str(); }
  /// The name now belongs to nobody here.
  void GiveNameAway() { name_.clear(); }

private:
  const Folder &folder_;
  std::string name_;
  FileDescriptor fd_;
};

/// A name that IsTemporaryName() tells, different at each call, in each process and on each
/// machine.
std::string NewTemporaryName();

/// Whether a file name (no folders) is that of a temporary file a crash may have left.
bool IsTemporaryName(std::string_view name);

/// Whether a temporary file's writer is gone: nobody has it locked, and the process that its name
/// tells is not there, or it is older than a minute; ten minutes when that is one of another
/// machine.
bool IsAbandonedTemporary(const std::string &path);
/// Removes a temporary file whose writer is gone. Whether it was removed.
bool RemoveAbandonedTemporary(const std::string &path);

} // namespace vexo::files
