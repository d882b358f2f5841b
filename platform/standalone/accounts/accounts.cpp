#include "accounts/accounts.h"

#include "accounts/accounts_file.h"
#include "accounts/ownership.h"
#include "files/durable_file.h"
#include "files/edit_file.h"
#include "files/file_io.h"
#include "system/paths.h"
#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <limits>
#include <stdexcept>
#include <sys/stat.h>
#include <system_error>
#include <tuple>

namespace vexo::accounts {
namespace {

/// Tells the accounts file from what was there before, as each change puts another file there.
using FileVersion = std::tuple<dev_t, ino_t, off_t, int64_t, int64_t, int64_t, int64_t>;

FileVersion VersionOf(const struct stat &facts) {
  return {facts.st_dev,          facts.st_ino,         facts.st_size,        facts.st_mtim.tv_sec,
          facts.st_mtim.tv_nsec, facts.st_ctim.tv_sec, facts.st_ctim.tv_nsec};
}

/// Nothing when there is no such file.
std::optional<FileVersion> CurrentVersion() {
  struct stat facts {};
  if (stat(system::kAccountsFile, &facts) == 0) {
    return VersionOf(facts);
  }
  if (errno != ENOENT && errno != ENOTDIR) {
    throw std::system_error(errno, std::generic_category(), system::kAccountsFile);
  }
  return std::nullopt;
}

/// The accounts, parsed again when the file is another one. A disk that fails in the middle of a
/// request must not make its user another one, whose playlists lie elsewhere: what was read before
/// holds then.
const std::vector<Account> &KnownAccounts() {
  static std::vector<Account> known;
  static std::optional<FileVersion> known_version;
  try {
    const std::optional<FileVersion> version = CurrentVersion();
    if (!version || version != known_version) {
      const std::optional<std::string> text = files::ReadWholeFile(system::kAccountsFile);
      known = text ? ParseAccounts(*text).accounts : std::vector<Account>();
      known_version = version;
    }
  } catch (const std::system_error &) {
    if (!known_version) {
      throw;
    }
  }
  return known;
}

template <typename Predicate> std::optional<Account> FindFirst(Predicate predicate) {
  const std::vector<Account> &accounts = KnownAccounts();
  const auto found = std::find_if(accounts.begin(), accounts.end(), predicate);
  return found == accounts.end() ? std::nullopt : std::optional(*found);
}

constexpr unsigned kAccountsFileMode = 0644;

void MakeAccountsFileIfMissing() {
  if (files::CreateDurably(system::kAccountsFile, FormatAccounts({}), kAccountsFileMode)) {
    InheritOwner(system::kAccountsFile);
  }
}

/// Changes the accounts under the file's lock; what `change` throws leaves them as they were.
void EditAccounts(const std::function<void(AccountsFile &)> &change) {
  const bool was_there =
      files::EditTextDurably(system::kAccountsFile, [&](std::string_view old_text) {
        AccountsFile file = ParseAccounts(old_text);
        change(file);
        return FormatAccounts(file);
      });
  if (!was_there) {
    throw std::runtime_error(std::string("there is no file ") + system::kAccountsFile);
  }
}

std::vector<Account>::iterator Named(AccountsFile &file, std::string_view name) {
  return std::find_if(file.accounts.begin(), file.accounts.end(),
                      [&](const Account &account) { return account.name == name; });
}

std::vector<Account>::iterator NamedOrThrow(AccountsFile &file, std::string_view name) {
  const auto found = Named(file, name);
  if (found == file.accounts.end()) {
    throw std::invalid_argument("there is no account '" + std::string(name) + "'");
  }
  return found;
}

void CheckFolder(const std::string &folder) {
  const bool plain = folder.starts_with('/') && folder.size() > 1 && !folder.ends_with('/') &&
                     folder.find_first_of("\t\r\n") == std::string::npos;
  if (!plain) {
    throw std::invalid_argument("'" + folder +
                                "' is not an absolute folder without a '/' at its end");
  }
}

/// Whether the folder was missing and is there now.
bool MakeFolder(const std::filesystem::path &folder) {
  constexpr mode_t kMode = 0755;
  if (std::filesystem::is_directory(folder)) {
    return false;
  }
  MakeFolder(folder.parent_path());
  if (mkdir(folder.c_str(), kMode) == 0) {
    InheritOwner(folder);
    return true;
  }
  if (errno != EEXIST) {
    throw std::system_error(errno, std::generic_category(), folder);
  }
  return false;
}

void MakeLibraryFolder(const std::string &folder) {
  if (MakeFolder(folder)) {
    MakeFolder(folder + system::kPlaylistsFolder);
  } else {
    MakePlaylistsFolderIfMissing(folder);
  }
}

void CheckAndMakeFolders(const Account &account) {
  CheckFolder(account.preference_folder);
  CheckFolder(account.personal_folder);
  MakeLibraryFolder(account.preference_folder);
  if (account.personal_library) {
    MakeLibraryFolder(account.personal_folder);
  }
}

} // namespace

std::vector<Account> ListAccounts() { return KnownAccounts(); }

std::optional<Account> FindAccount(std::string_view name) {
  return FindFirst([&](const Account &account) { return account.name == name; });
}

std::optional<Account> FindAccount(int id) {
  return FindFirst([&](const Account &account) { return account.id == id; });
}

std::vector<int> RemovedAccountIds() {
  const std::optional<std::string> text = files::ReadWholeFile(system::kAccountsFile);
  const AccountsFile file = text ? ParseAccounts(*text) : AccountsFile();
  std::vector<int> ids;
  for (int id = 1; id < file.next_id; ++id) {
    if (std::none_of(file.accounts.begin(), file.accounts.end(),
                     [&](const Account &account) { return account.id == id; })) {
      ids.push_back(id);
    }
  }
  return ids;
}

int AddAccount(Account account) {
  if (!IsAccountName(account.name)) {
    throw std::invalid_argument("'" + account.name + "' cannot be an account's name");
  }
  if (account.personal_folder.empty()) {
    account.personal_folder = std::string(system::kHomes) + "/" + account.name + "/music";
  }
  if (account.preference_folder.empty()) {
    account.preference_folder = std::string(system::kPreferences) + "/" + account.name;
  }
  MakeAccountsFileIfMissing();
  EditAccounts([&](AccountsFile &file) {
    if (Named(file, account.name) != file.accounts.end()) {
      throw std::invalid_argument("there is an account '" + account.name + "' already");
    }
    if (file.next_id == std::numeric_limits<int>::max()) {
      throw std::invalid_argument("no ids are left");
    }
    CheckAndMakeFolders(account);
    account.id = file.next_id++;
    file.accounts.push_back(account);
  });
  return account.id;
}

void ChangeAccount(std::string_view name, const std::function<void(Account &)> &change) {
  EditAccounts([&](AccountsFile &file) {
    const auto found = NamedOrThrow(file, name);
    Account changed = *found;
    change(changed);
    CheckAndMakeFolders(changed);
    found->personal_library = changed.personal_library;
    found->personal_folder = changed.personal_folder;
    found->preference_folder = changed.preference_folder;
    found->admin = changed.admin;
  });
}

void EndSessions(std::string_view name) {
  EditAccounts([&](AccountsFile &file) { ++NamedOrThrow(file, name)->generation; });
}

void RemoveAccount(std::string_view name) {
  EditAccounts([&](AccountsFile &file) { file.accounts.erase(NamedOrThrow(file, name)); });
}

} // namespace vexo::accounts
