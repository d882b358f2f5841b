#pragma once
#include <csignal>
#include <string>

/// The folder in which a download is put together: made, and made the current one, by the
/// constructor; removed with everything in it by the destructor. Until then SIGTERM, which a web
/// server sends when the client went away, waits.
class WorkingFolder {
public:
  WorkingFolder();
  ~WorkingFolder();
  WorkingFolder(const WorkingFolder &) = delete;
  WorkingFolder &operator=(const WorkingFolder &) = delete;

  /// Whether the folder could be made.
  [[nodiscard]] bool IsMade() const { return !path_.empty(); }

private:
  sigset_t previous_{};
  std::string path_;
};
