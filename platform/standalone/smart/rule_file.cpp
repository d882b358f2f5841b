#include "smart/rule_file.h"

#include "files/durable_file.h"

#include "accounts/accounts.h"
#include "accounts/libraries.h"
#include "files/edit_file.h"
#include "files/file_io.h"
#include "system/paths.h"
#include <cerrno>
#include <cstdlib>
#include <system_error>

namespace vexo::smart {
namespace {

constexpr unsigned kRuleFileMode = 0644;

[[noreturn]] void Fail(int error, const std::string &path) {
  throw std::system_error(error, std::generic_category(), path);
}

/// The account whose own rule file that is.
std::optional<accounts::Account> FindFileAccount(const std::string &path) {
  constexpr std::string_view kPlace = "/playlists/smart.playlist";
  if (!path.ends_with(kPlace)) {
    return std::nullopt;
  }
  const std::string_view folder = std::string_view(path).substr(0, path.size() - kPlace.size());
  for (accounts::Account &account : accounts::ListAccounts()) {
    if (account.preference_folder == folder) {
      return std::move(account);
    }
  }
  return std::nullopt;
}

/// Where a rule file is written: a link stays, and what it leads to is written. The administrator's
/// may lead anywhere, a user's not out of the preference folder, nor that of its folder elsewhere.
std::string WritablePath(const std::string &path) {
  const std::optional<std::string> real = accounts::RealPath(path);
  if (path == system::kSharedSmartRules) {
    return real.value_or(path);
  }
  const std::optional<accounts::Account> account = FindFileAccount(path);
  if (!account) {
    Fail(EACCES, path);
  }
  const auto folder = accounts::RealPath(path.substr(0, path.rfind('/')));
  const auto preferences = accounts::RealPath(account->preference_folder);
  if (!folder || !preferences) {
    Fail(ENOENT, path);
  }
  if (*folder != *preferences + system::kPlaylistsFolder ||
      (real && !accounts::IsWithin(*real, *preferences))) {
    Fail(EACCES, path);
  }
  return real.value_or(path);
}

void RequireSize(std::size_t size, const std::string &path) {
  if (size > kLargestRuleFile) {
    Fail(EFBIG, path);
  }
}

} // namespace

std::optional<std::string> ReadRuleFile(const std::string &path) {
  return files::ReadWholeFile(path, kLargestRuleFile);
}

void EditRuleFile(const std::string &path, const files::TextEdit &edit, bool make) {
  const std::string target = WritablePath(path);
  const files::TextEdit within_size = [&](std::string_view old) {
    RequireSize(old.size(), path);
    std::optional<std::string> changed = edit(old);
    RequireSize(changed ? changed->size() : 0, path);
    return changed;
  };
  constexpr int kTries = 10;
  for (int tries = 0; tries < kTries; ++tries) {
    if (files::EditTextDurably(target, within_size)) {
      return;
    }
    if (make && files::CreateDurably(target, within_size("").value_or(""), kRuleFileMode)) {
      return;
    }
    if (!make) {
      Fail(ENOENT, path);
    }
  }
  Fail(EAGAIN, path);
}

Scope FindScope(const std::string &path) {
  Scope scope;
  const std::optional<accounts::Account> owner =
      path == system::kSharedSmartRules ? std::nullopt : FindFileAccount(path);
  if (owner && owner->personal_library) {
    scope.owner = owner->id;
    scope.with_shared = true;
  }
  const char *const user = std::getenv("REMOTE_USER");
  const std::optional<accounts::Account> asking = user ? accounts::FindAccount(user) : owner;
  scope.user = asking ? asking->id : 0;
  return scope;
}

} // namespace vexo::smart
