#include "accounts/libraries.h"

#include "accounts/accounts.h"
#include "system/paths.h"
#include <array>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <memory>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace vexo::accounts {
namespace {

/// After a look-up that failed: throws unless it said that there is no such thing.
void CheckIsGone(const std::string &path) {
  if (errno != ENOENT && errno != ENOTDIR) {
    throw std::system_error(errno, std::generic_category(), "cannot read " + path);
  }
}

bool IsRegularFile(const std::string &path) {
  struct stat status {};
  if (stat(path.c_str(), &status) != 0) {
    CheckIsGone(path);
    return false;
  }
  return S_ISREG(status.st_mode);
}

std::optional<std::string> RealPathIfThere(const std::string &path) {
  std::optional<std::string> real = RealPath(path);
  if (!real) {
    CheckIsGone(path);
  }
  return real;
}

bool IsInLibrary(std::string_view file, const std::optional<std::string> &library) {
  const std::optional<std::string> folder = library ? RealPathIfThere(*library) : std::nullopt;
  return folder && IsWithin(file, *folder);
}

std::optional<std::string> PersonalLibraryFolder(std::optional<Account> account) {
  if (!account || !account->personal_library) {
    return std::nullopt;
  }
  return std::move(account->personal_folder);
}

} // namespace

std::optional<std::string> SharedLibraryFolder() {
  std::array<char, PATH_MAX> target{};
  const ssize_t length = readlink(system::kMusicLink, target.data(), target.size());
  if (length < 0 && errno != EINVAL) { // EINVAL: there is something, and it is no link
    CheckIsGone(system::kMusicLink);
  }
  if (length <= 0 || static_cast<std::size_t>(length) == target.size()) {
    return std::nullopt;
  }
  return std::string(target.data(), static_cast<std::size_t>(length));
}

std::optional<std::string> LibraryFolder(int owner) {
  return owner == 0 ? SharedLibraryFolder() : PersonalLibraryFolder(FindAccount(owner));
}

std::optional<std::string> RealPath(const std::string &path) {
  const std::unique_ptr<char, decltype(&std::free)> resolved(realpath(path.c_str(), nullptr),
                                                             &std::free);
  if (!resolved) {
    return std::nullopt;
  }
  return resolved.get();
}

bool IsWithin(std::string_view path, std::string_view folder) {
  return path.starts_with(folder) &&
         (path.size() == folder.size() || folder.ends_with('/') || path[folder.size()] == '/');
}

std::optional<std::string> SendableSongFile(const std::string &path, std::string_view user) {
  std::optional<std::string> file = RealPathIfThere(path);
  if (!file || !IsRegularFile(*file)) {
    return std::nullopt;
  }
  if (IsInLibrary(*file, SharedLibraryFolder()) ||
      IsInLibrary(*file, PersonalLibraryFolder(FindAccount(user)))) {
    return file;
  }
  return std::nullopt;
}

} // namespace vexo::accounts
