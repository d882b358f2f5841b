#include "accounts/accounts.h"

#include "accounts/accounts_file.h"
#include "files/durable_file.h"
#include "system/paths.h"
#include <algorithm>
#include <system_error>

namespace vexo::accounts {
namespace {

template <typename Predicate> std::optional<Account> FindFirst(Predicate predicate) {
  std::vector<Account> accounts = ListAccounts();
  const auto found = std::find_if(accounts.begin(), accounts.end(), predicate);
  if (found == accounts.end()) {
    return std::nullopt;
  }
  return std::move(*found);
}

bool IsNameCharacter(char c) {
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '.' ||
         c == '_' || c == '-';
}

} // namespace

bool IsAccountName(std::string_view name) {
  constexpr std::size_t kLongestName = 64;
  return !name.empty() && name.size() <= kLongestName && name != "." && name != ".." &&
         std::all_of(name.begin(), name.end(), IsNameCharacter);
}

std::vector<Account> ListAccounts() {
  // A disk that fails in the middle of a request must not make its user another one, whose
  // playlists lie elsewhere: what was read before holds.
  static std::optional<std::vector<Account>> known;
  try {
    known = ParseAccounts(files::ReadWholeFile(system::kAccountsFile)).accounts;
  } catch (const std::system_error &error) {
    if (error.code() == std::errc::no_such_file_or_directory) {
      known.reset();
      return {};
    }
    if (!known) {
      throw;
    }
  }
  return *known;
}

std::optional<Account> FindAccount(std::string_view name) {
  return FindFirst([&](const Account &account) { return account.name == name; });
}

std::optional<Account> FindAccount(int id) {
  return FindFirst([&](const Account &account) { return account.id == id; });
}

} // namespace vexo::accounts
