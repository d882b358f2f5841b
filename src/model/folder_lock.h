#pragma once
#include <string>

/// Holds a folder against the other processes that take this lock, from the look whether a name is
/// free until it is taken. A folder that cannot be locked is no error: the file operations that
/// follow meet the same trouble and decide.
class FolderLock {
public:
  /// Waits about 10 seconds at most until the lock is free.
  explicit FolderLock(const std::string &folder);
  ~FolderLock();
  FolderLock(const FolderLock &) = delete;
  FolderLock &operator=(const FolderLock &) = delete;

  /// Whether another process has kept the lock all the time; a name must not be taken then.
  [[nodiscard]] bool IsBusy() const { return is_busy_; }

private:
  int descriptor_;
  bool is_busy_ = false;
};
