// vexo/users.h, and where a user's personal library lies.
#include "accounts/accounts.h"
#include "system/boundary.h"
#include "vexo/audio_file.h"
#include "vexo/users.h"

using vexo::accounts::Account;
using vexo::accounts::FindAccount;
using vexo::system::Guarded;

namespace {

std::optional<Account> AccountOf(const char *user_name) {
  return user_name == nullptr ? std::nullopt : FindAccount(std::string_view(user_name));
}

} // namespace

int GetUserIdFromName(const char *userName) {
  return Guarded("GetUserIdFromName", -1, [&] {
    const std::optional<Account> account = AccountOf(userName);
    return account ? account->id : -1;
  });
}

int IsPersonalLibEnabled(const char *userName) {
  return Guarded("IsPersonalLibEnabled", 0, [&] {
    const std::optional<Account> account = AccountOf(userName);
    return account && account->personal_library ? 1 : 0;
  });
}

int AudioUsers::GetUserPermission(const char *userName) {
  constexpr int kMayUsePlaylists = 1;
  return Guarded("AudioUsers::GetUserPermission", 0,
                 [&] { return AccountOf(userName) ? kMayUsePlaylists : 0; });
}

int AudioFile::GetPersonalLibraryFolderPath(const char *userName, char *buffer, int size) {
  return Guarded("AudioFile::GetPersonalLibraryFolderPath", 0, [&] {
    const std::optional<Account> account = AccountOf(userName);
    if (!account || !account->personal_library || buffer == nullptr) {
      return 0;
    }
    return vexo::system::CopyOut(account->personal_folder.c_str(), buffer, size) ? 1 : 0;
  });
}
