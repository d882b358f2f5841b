#include "system/slots.h"

#include "files/folder.h"
#include "system/paths.h"
#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <thread>

namespace vexo::system {
namespace {

using files::FileDescriptor;

constexpr std::chrono::milliseconds kPause{10};

FileDescriptor OpenSlot(const std::string &path) {
  constexpr mode_t kMode = 0600;
  constexpr int kFlags = O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC;
  FileDescriptor slot(open(path.c_str(), kFlags, kMode));
  if (!slot && errno == ENOENT) {
    files::MakeFolders(kSlots);
    slot = FileDescriptor(open(path.c_str(), kFlags, kMode));
  }
  if (!slot) {
    files::ThrowErrno("cannot open", path);
  }
  return slot;
}

std::optional<FileDescriptor> TakeFree(const std::string &name, int count) {
  for (int number = 0; number < count; ++number) {
    FileDescriptor slot = OpenSlot(kSlots + ("/" + name + "-" + std::to_string(number)));
    if (flock(slot.get(), LOCK_EX | LOCK_NB) == 0) {
      return slot;
    }
  }
  return std::nullopt;
}

} // namespace

std::optional<FileDescriptor> TakeSlot(const std::string &name, int count,
                                       std::chrono::milliseconds patience) {
  const auto end = std::chrono::steady_clock::now() + patience;
  std::optional<FileDescriptor> slot = TakeFree(name, count);
  while (!slot && std::chrono::steady_clock::now() < end) {
    std::this_thread::sleep_for(kPause);
    slot = TakeFree(name, count);
  }
  return slot;
}

} // namespace vexo::system
