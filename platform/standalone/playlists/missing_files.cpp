#include "playlists/missing_files.h"
#include "accounts/accounts.h"
#include "accounts/libraries.h"
#include <cerrno>
#include <dirent.h>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string_view>
#include <sys/stat.h>

namespace vexo::playlists {

namespace {

struct CloseFolder {
  void operator()(DIR *folder) const { closedir(folder); }
};

/// Whether the folder can be listed and holds anything.
bool HoldsAnything(const std::string &path) {
  const std::unique_ptr<DIR, CloseFolder> folder(opendir(path.c_str()));
  if (!folder) {
    return false;
  }
  while (const dirent *const entry = readdir(folder.get())) {
    const std::string_view name = entry->d_name;
    if (name != "." && name != "..") {
      return true;
    }
  }
  return false;
}

[[noreturn]] void ThrowNotThere(const std::string &library) {
  throw std::runtime_error("the library " + library + " is not there, empty or not readable");
}

std::string ParentOf(const std::string &path) {
  const std::size_t slash = path.find_last_of('/', path.find_last_not_of('/'));
  return slash == 0 || slash == std::string::npos ? "/" : path.substr(0, slash);
}

bool IsAnyEntry(const std::string &path) {
  struct stat facts {};
  return lstat(path.c_str(), &facts) == 0;
}

/// The real path of the lowest folder above `path` that is there; nothing when a link leads
/// nowhere.
std::optional<std::string> LowestFolderThere(std::string path) {
  do {
    if (IsAnyEntry(path)) {
      return accounts::RealPath(path);
    }
    path = ParentOf(path);
  } while (path != "/");
  return path;
}

} // namespace

MissingFiles::MissingFiles() {
  const auto shared = accounts::SharedLibraryFolder();
  if (!shared) {
    ThrowNotThere("(shared)");
  }
  libraries_.push_back({*shared, accounts::RealPath(*shared).value_or("")});
  for (const accounts::Account &account : accounts::ListAccounts()) {
    if (account.personal_library) {
      const std::string &folder = account.personal_folder;
      libraries_.push_back({folder, accounts::RealPath(folder).value_or("")});
    }
  }
}

MissingFiles::Library *MissingFiles::LibraryOf(const std::string &path) {
  Library *found = nullptr;
  for (Library &library : libraries_) {
    const bool holds = accounts::IsWithin(path, library.named) ||
                       (!library.real.empty() && accounts::IsWithin(path, library.real));
    if (holds && (found == nullptr || library.named.size() > found->named.size())) {
      found = &library;
    }
  }
  return found;
}

MissingFiles::State MissingFiles::StateOf(const std::string &path) {
  struct stat facts {};
  if (stat(path.c_str(), &facts) == 0) {
    return State::kThere;
  }
  const bool is_gone = errno == ENOENT || errno == ENOTDIR;
  Library *const library = LibraryOf(path);
  if (library == nullptr) {
    return is_gone ? State::kGone : State::kUnknown;
  }
  if (!library->was_asked && (library->real.empty() || !HoldsAnything(library->real))) {
    ThrowNotThere(library->named);
  }
  library->was_asked = true;
  const auto folder = is_gone ? LowestFolderThere(path) : std::nullopt;
  return folder && accounts::IsWithin(*folder, library->real) ? State::kGone : State::kUnknown;
}

bool MissingFiles::AreGone(const std::vector<std::string> &candidates) {
  bool is_below_a_library = false;
  for (const std::string &path : candidates) {
    if (StateOf(path) != State::kGone) {
      return false;
    }
    is_below_a_library = is_below_a_library || LibraryOf(path) != nullptr;
  }
  return is_below_a_library;
}

void MissingFiles::RequireSameLibraries() const {
  for (const Library &library : libraries_) {
    if (library.was_asked &&
        (accounts::RealPath(library.named) != library.real || !HoldsAnything(library.real))) {
      ThrowNotThere(library.named);
    }
  }
}

} // namespace vexo::playlists
