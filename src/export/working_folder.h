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

  /// Whether the folder could be made and entered.
  [[nodiscard]] bool IsMade() const { return entered_; }

private:
  sigset_t previous_{};
  std::string path_; ///< empty: there is none
  bool entered_ = false;
};
