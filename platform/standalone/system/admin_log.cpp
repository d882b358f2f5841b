#include "system/admin_log.h"

#include "files/file_descriptor.h"
#include "files/folder.h"
#include "system/log.h"
#include "system/paths.h"
#include <array>
#include <cerrno>
#include <ctime>
#include <fcntl.h>
#include <filesystem>
#include <system_error>

namespace vexo::system {
namespace {

std::string EventHeader(unsigned event) {
  const std::time_t now = std::time(nullptr);
  std::tm utc{};
  gmtime_r(&now, &utc);
  std::array<char, 64> header{};
  const std::size_t length =
      std::strftime(header.data(), header.size(), "%Y-%m-%dT%H:%M:%SZ\t", &utc);
  std::snprintf(header.data() + length, header.size() - length, "%08x", event);
  return header.data();
}

std::string EventLine(unsigned event, const std::vector<std::string> &texts) {
  std::string line = EventHeader(event);
  for (const std::string &text : texts) {
    line += '\t';
    line += EscapeLogText(text);
  }
  return line += '\n';
}

files::FileDescriptor OpenLog() {
  return files::FileDescriptor(open(kAdminLog, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0640));
}

files::FileDescriptor OpenLogAndItsFolder() {
  files::FileDescriptor log = OpenLog();
  if (!log && errno == ENOENT) {
    files::MakeFolders(std::filesystem::path(kAdminLog).parent_path());
    log = OpenLog();
  }
  return log;
}

} // namespace

void AppendAdminLog(unsigned event, const std::vector<std::string> &texts) {
  const std::string line = EventLine(event, texts);
  const files::FileDescriptor log = OpenLogAndItsFolder();
  const ssize_t written = log ? write(log.get(), line.data(), line.size()) : -1;
  if (written < 0) {
    throw std::system_error(errno, std::generic_category(), kAdminLog);
  }
  if (static_cast<std::size_t>(written) != line.size()) {
    throw std::system_error(ENOSPC, std::generic_category(), kAdminLog);
  }
}

} // namespace vexo::system
