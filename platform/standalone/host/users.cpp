#include "vexo/users.h"

#include "accounts/accounts.h"
#include "host/guard.h"
#include <optional>
#include <string_view>

using namespace vexo;
using namespace vexo::host;
using accounts::Account;

namespace {

std::optional<Account> AccountOf(const char *user_name) {
  return user_name == nullptr ? std::nullopt : accounts::FindAccount(std::string_view(user_name));
}

} // namespace

int GetUserIdFromName(const char *userName) {
  return Guarded(-1, [&] {
    const std::optional<Account> account = AccountOf(userName);
    return account ? account->id : -1;
  });
}

int IsPersonalLibEnabled(const char *userName) {
  return Guarded(0, [&] {
    const std::optional<Account> account = AccountOf(userName);
    return account && account->personal_library ? 1 : 0;
  });
}

int AudioUsers::GetUserPermission(const char *userName) {
  constexpr int kMayUsePlaylists = 1;
  return Guarded(0, [&] { return AccountOf(userName) ? kMayUsePlaylists : 0; });
}
