#include "playlistctl/doctor/leftovers.h"

#include "accounts/accounts.h"
#include "files/folder.h"
#include "files/temporary_file.h"
#include "playlistctl/scan/library.h"
#include "system/paths.h"
#include <algorithm>
#include <cctype>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace vexo::tools {
namespace {

namespace fs = std::filesystem;

/// Whether a name is one that mkdtemp() makes of "audiodlXXXXXX".
bool IsWorkingFolderName(const std::string &name) {
  constexpr std::string_view kPrefix = "audiodl";
  constexpr std::size_t kRandom = 6;
  return name.size() == kPrefix.size() + kRandom && name.starts_with(kPrefix) &&
         std::all_of(name.begin() + kPrefix.size(), name.end(),
                     [](char c) { return std::isalnum(static_cast<unsigned char>(c)) != 0; });
}

/// Whether a process is one that works in such folders: the program itself, or the archiver it
/// runs.
bool IsDownloader(const fs::path &process) {
  std::string name;
  std::ifstream(process / "comm") >> name;
  return name.starts_with("audio_playlist") || name == "zip";
}

/// Whether a process works in the folder. Also true for a downloader of another user, whose cwd
/// cannot be read.
bool WorksIn(const fs::path &process, const struct stat &folder) {
  struct stat working {};
  if (stat((process / "cwd").c_str(), &working) == 0) {
    return working.st_dev == folder.st_dev && working.st_ino == folder.st_ino;
  }
  return errno == EACCES && IsDownloader(process);
}

bool IsInUse(const struct stat &folder) {
  std::error_code ignored;
  for (const fs::directory_entry &process : fs::directory_iterator("/proc", ignored)) {
    if (std::isdigit(static_cast<unsigned char>(process.path().filename().string()[0])) != 0 &&
        WorksIn(process.path(), folder)) {
      return true;
    }
  }
  return false;
}

std::vector<fs::path> UnusedWorkingFolders(const std::string &folder) {
  std::vector<fs::path> unused;
  std::error_code ignored;
  for (const fs::directory_entry &entry : fs::directory_iterator(folder, ignored)) {
    struct stat status {};
    if (IsWorkingFolderName(entry.path().filename()) && lstat(entry.path().c_str(), &status) == 0 &&
        S_ISDIR(status.st_mode) && !IsInUse(status)) {
      unused.push_back(entry.path());
    }
  }
  return unused;
}

void CheckTemporaryFile(const fs::directory_entry &entry, Findings &findings) {
  const std::string path = entry.path();
  std::error_code ignored;
  if (files::IsTemporaryName(entry.path().filename().string()) &&
      entry.symlink_status(ignored).type() == fs::file_type::regular &&
      files::IsAbandonedTemporary(path)) {
    findings.Found("a writer that is gone has left " + Printable(path), [&] {
      if (!files::RemoveAbandonedTemporary(path)) {
        throw std::runtime_error("it is in use again, or cannot be removed");
      }
    });
  }
}

} // namespace

void CheckTemporaryFiles(const std::vector<TemporaryFolder> &folders, Findings &findings) {
  constexpr auto kPassOver = fs::directory_options::skip_permission_denied;
  for (const auto &[folder, deep] : folders) {
    std::error_code error;
    fs::recursive_directory_iterator entry(folder, kPassOver, error);
    while (!error && entry != fs::recursive_directory_iterator()) {
      if (!deep) {
        entry.disable_recursion_pending();
      }
      CheckTemporaryFile(*entry, findings);
      entry.increment(error);
    }
  }
}

void CheckWorkingFolders(const std::string &folder, std::chrono::milliseconds grace_period,
                         Findings &findings) {
  const std::vector<fs::path> before = UnusedWorkingFolders(folder);
  if (before.empty()) {
    return;
  }
  std::this_thread::sleep_for(grace_period);
  for (const fs::path &path : UnusedWorkingFolders(folder)) {
    if (std::find(before.begin(), before.end(), path) != before.end()) {
      findings.Found("a download that was killed has left " + Printable(path),
                     [&] { fs::remove_all(path); });
    }
  }
}

std::vector<TemporaryFolder> FoldersOfWriters() {
  std::vector<TemporaryFolder> folders = {{files::FolderOf(system::kAccountsFile)},
                                          {files::FolderOf(system::kSharedSmartRules)},
                                          {system::kTemporary}};
  for (const Library &library : AllLibraries()) {
    folders.push_back({PlaylistsFolder(library), true});
  }
  for (const accounts::Account &account : accounts::ListAccounts()) {
    folders.push_back({account.preference_folder + system::kPlaylistsFolder, true});
  }
  return folders;
}

} // namespace vexo::tools
