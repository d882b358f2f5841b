#include "playlists/library_files.h"
#include "accounts/libraries.h"
#include "files/folder.h"
#include "playlists/playlist_folders.h"
#include <cerrno>
#include <dirent.h>
#include <filesystem>
#include <memory>
#include <optional>
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

bool IsNotFound(int error) { return error == ENOENT || error == ENOTDIR; }

std::string ParentOf(const std::string &path) {
  const std::size_t slash = path.find_last_of('/', path.find_last_not_of('/'));
  return slash == 0 || slash == std::string::npos ? "/" : path.substr(0, slash);
}

/// The real path of the lowest of `path` and the folders above it that is there; nothing when a
/// link leads nowhere.
std::optional<std::string> LowestFolderThere(std::string path) {
  do {
    if (files::IsAnyEntry(path)) {
      return accounts::RealPath(path);
    }
    path = ParentOf(path);
  } while (path != "/");
  return path;
}

} // namespace

LibraryFiles::LibraryFiles() {
  const auto add = [this](const std::string &named) {
    libraries_.push_back({named, accounts::RealPath(named).value_or("")});
  };
  if (const auto shared = accounts::SharedLibraryFolder()) {
    add(*shared);
  }
  for (const accounts::Account &account : AccountsThatCount()) {
    if (account.personal_library) {
      add(account.personal_folder);
    }
  }
}

/// By its path alone, without a look at any file.
LibraryFiles::Library *LibraryFiles::NamedLibraryOf(const std::string &path) {
  const std::string normal = std::filesystem::path(path).lexically_normal().string();
  Library *found = nullptr;
  for (Library &library : libraries_) {
    const bool holds = accounts::IsWithin(normal, library.named) ||
                       (!library.real.empty() && accounts::IsWithin(normal, library.real));
    if (holds && (found == nullptr || library.named.size() > found->named.size())) {
      found = &library;
    }
  }
  return found;
}

LibraryFiles::Library *LibraryFiles::RealLibraryOf(const std::string &real_path) {
  Library *found = nullptr;
  for (Library &library : libraries_) {
    const bool holds = !library.real.empty() && accounts::IsWithin(real_path, library.real);
    if (holds && (found == nullptr || library.real.size() > found->real.size())) {
      found = &library;
    }
  }
  return found;
}

LibraryFiles::State LibraryFiles::GoneFrom(const std::string &real_folder) {
  Library *const library = RealLibraryOf(real_folder);
  if (library == nullptr) {
    return State::kUnknown;
  }
  if (!library->holds_gone_file && !HoldsAnything(library->real)) {
    return State::kAway;
  }
  library->holds_gone_file = true;
  return State::kGone;
}

LibraryFiles::Folder LibraryFiles::ExamineFolder(const std::string &path) {
  if (auto real = accounts::RealPath(path)) {
    const bool is_inside = RealLibraryOf(*real) != nullptr;
    return {is_inside ? State::kThere : State::kUnknown, *std::move(real)};
  }
  const auto lowest = IsNotFound(errno) ? LowestFolderThere(path) : std::nullopt;
  return {lowest ? GoneFrom(*lowest) : State::kUnknown, ""};
}

const LibraryFiles::Folder &LibraryFiles::FolderAt(const std::string &path) {
  const auto known = folders_.find(path);
  return known != folders_.end() ? known->second
                                 : folders_.emplace(path, ExamineFolder(path)).first->second;
}

LibraryFiles::State LibraryFiles::StateIn(const Folder &folder, const std::string &name) {
  const std::string path = folder.real + "/" + name;
  struct stat status {};
  if (lstat(path.c_str(), &status) != 0) {
    return IsNotFound(errno) ? GoneFrom(folder.real) : State::kUnknown;
  }
  if (!S_ISLNK(status.st_mode)) {
    return State::kThere;
  }
  const auto real = accounts::RealPath(path);
  return real && RealLibraryOf(*real) != nullptr ? State::kThere : State::kUnknown;
}

LibraryFiles::State LibraryFiles::StateOf(const std::string &path) {
  const Library *const library = NamedLibraryOf(path);
  if (library == nullptr) {
    return State::kOutside;
  }
  if (library->real.empty()) {
    return State::kAway;
  }
  const std::string name = path.substr(path.rfind('/') + 1);
  if (name.empty() || name == "." || name == "..") {
    return State::kUnknown;
  }
  const Folder &folder = FolderAt(ParentOf(path));
  return folder.state == State::kThere ? StateIn(folder, name) : folder.state;
}

bool LibraryFiles::AreLibrariesTheSame() const {
  for (const Library &library : libraries_) {
    if (library.holds_gone_file &&
        (accounts::RealPath(library.named) != library.real || !HoldsAnything(library.real))) {
      return false;
    }
  }
  return true;
}

} // namespace vexo::playlists
