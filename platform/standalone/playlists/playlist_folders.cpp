#include "playlists/playlist_folders.h"
#include "accounts/libraries.h"
#include "system/paths.h"
#include <algorithm>
#include <cstdlib>
#include <optional>
#include <vector>

namespace vexo::playlists {

namespace {

/// The real path of the folder that the file lies in; nothing when it is not there, or when the
/// path names no file in it.
std::optional<std::string> RealFolder(const std::string &path) {
  const std::size_t slash = path.rfind('/');
  if (slash == std::string::npos) {
    return std::nullopt;
  }
  const std::string name = path.substr(slash + 1);
  if (name.empty() || name == "." || name == "..") {
    return std::nullopt;
  }
  return accounts::RealPath(path.substr(0, slash + 1));
}

bool IsBelow(const std::optional<std::string> &folder, const std::optional<std::string> &root) {
  const auto real_root = root ? accounts::RealPath(*root + system::kPlaylistsFolder) : std::nullopt;
  return folder && real_root && accounts::IsWithin(*folder, *real_root);
}

bool IsBelowAnyOf(const std::optional<std::string> &folder, const accounts::Account &account) {
  return IsBelow(folder, account.preference_folder) ||
         (account.personal_library && IsBelow(folder, account.personal_folder));
}

} // namespace

void RequireInLibrary(int owner, const std::string &path) {
  if (!IsBelow(RealFolder(path), accounts::LibraryFolder(owner))) {
    throw OutsideError(path);
  }
}

std::vector<accounts::Account> AccountsThatCount() {
  const char *const user = std::getenv("REMOTE_USER");
  if (user == nullptr) {
    return accounts::ListAccounts();
  }
  const auto account = accounts::FindAccount(user);
  return account ? std::vector{*account} : std::vector<accounts::Account>();
}

bool IsInPlaylistsFolder(const std::string &real_folder) {
  if (IsBelow(real_folder, accounts::SharedLibraryFolder())) {
    return true;
  }
  const std::vector<accounts::Account> accounts = AccountsThatCount();
  return std::any_of(accounts.begin(), accounts.end(), [&](const accounts::Account &account) {
    return IsBelowAnyOf(real_folder, account);
  });
}

void RequireInPlaylistsFolder(const std::string &path) {
  const std::optional<std::string> folder = RealFolder(path);
  if (!folder || !IsInPlaylistsFolder(*folder)) {
    throw OutsideError(path);
  }
}

void RequireInFolder(const std::string &folder, const std::string &path) {
  const auto real = RealFolder(path);
  if (!real || real != accounts::RealPath(folder)) {
    throw OutsideError(path);
  }
}

} // namespace vexo::playlists
