#include "accounts/accounts.h"
#include "support/device_root.h"
#include <system_error>

namespace {

using namespace vexo::accounts;

class UnreadableAccounts : public DeviceRootTest {
protected:
  /// Reading a folder is the failure that root sees, too.
  static void MakeUnreadable() {
    std::filesystem::remove(vexo::system::kAccountsFile);
    std::filesystem::create_directory(vexo::system::kAccountsFile);
  }
};

TEST_F(UnreadableAccounts, AFileThatCannotBeReadAnyMoreCountsAsItWasReadLast) {
  Account anna;
  anna.name = "anna";
  anna.personal_library = true;
  AddAccount(anna);
  ASSERT_TRUE(FindAccount("anna"));
  MakeUnreadable();
  const std::optional<Account> found = FindAccount("anna");
  ASSERT_TRUE(found);
  EXPECT_TRUE(found->personal_library);
}

TEST_F(UnreadableAccounts, AFileThatCouldNeverBeReadIsAnError) {
  ASSERT_FALSE(FindAccount("anna")) << "no file, no users";
  MakeUnreadable();
  EXPECT_THROW(FindAccount("anna"), std::system_error);
}

} // namespace
