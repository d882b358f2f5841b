#include "export/working_folder.h"

#include "model/device_paths.h"
#include <cstdlib>
#include <string_view>
#include <unistd.h>

namespace {

/// Whether a shell takes the text as one word that stands for itself.
constexpr bool IsPlainWord(std::string_view text) {
  for (const char c : text) {
    const bool letter = (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
    const bool other = (c >= '0' && c <= '9') || c == '/' || c == '.' || c == '_' || c == '-' ||
                       c == '+' || c == '@' || c == ',';
    if (!letter && !other) {
      return false;
    }
  }
  return true;
}

static_assert(IsPlainWord(kDownloadFolderTemplate),
              "DEVICE_ROOT stands in shell commands: no blanks or other special characters in it");

} // namespace

WorkingFolder::WorkingFolder() {
  sigset_t termination;
  sigemptyset(&termination);
  sigaddset(&termination, SIGTERM);
  sigprocmask(SIG_BLOCK, &termination, &previous_);
  std::string path = kDownloadFolderTemplate;
  if (mkdtemp(path.data()) != nullptr) {
    path_ = std::move(path);
    entered_ = chdir(path_.c_str()) == 0;
  }
}

WorkingFolder::~WorkingFolder() {
  if (!path_.empty() && access(path_.c_str(), F_OK) == 0) {
    const std::string command = "rm -rf " + path_ + " > /dev/null 2>&1 ";
    [[maybe_unused]] const int status = std::system(command.c_str());
  }
  sigprocmask(SIG_SETMASK, &previous_, nullptr);
}
