#include "accounts/accounts_file.h"
#include <gtest/gtest.h>
#include <stdexcept>

namespace vexo::accounts {
namespace {

constexpr const char *kGolden = "vexo-accounts-1\t5\n"
                                "1\talice\ton\t/homes/alice/music\t/prefs/alice\n"
                                "4\tbob\toff\t/a folder\t/prefs/bob\n";

TEST(AccountsFile, IsAnAccountALine) {
  AccountsFile file{5, {}};
  file.accounts.push_back({"alice", 1, true, "/homes/alice/music", "/prefs/alice"});
  file.accounts.push_back({"bob", 4, false, "/a folder", "/prefs/bob"});
  EXPECT_EQ(FormatAccounts(file), kGolden);
}

TEST(AccountsFile, KeepsWhatIsNotAsByDefaultBehindTheFolders) {
  const std::string text = "vexo-accounts-1\t5\n"
                           "1\talice\ton\t/a\t/b\tadmin=on\tgeneration=12\n"
                           "2\tbob\toff\t/a\t/b\tgeneration=9223372036854775806\n"
                           "4\tcarol\toff\t/a\t/b\tadmin=on\tcolour=red=green\tempty=\n";
  const AccountsFile file = ParseAccounts(text);
  ASSERT_EQ(file.accounts.size(), 3U);
  EXPECT_TRUE(file.accounts[0].admin);
  EXPECT_EQ(file.accounts[0].generation, 12);
  EXPECT_FALSE(file.accounts[1].admin);
  EXPECT_EQ(file.accounts[2].generation, 0);
  EXPECT_EQ(FormatAccounts(file), text) << "also the fields of a newer version";
}

TEST(AccountsFile, WithoutAccountsHasItsFirstLine) {
  EXPECT_EQ(FormatAccounts({}), "vexo-accounts-1\t1\n");
}

TEST(AccountsFile, ReadsWhatItWrites) {
  EXPECT_EQ(FormatAccounts(ParseAccounts(kGolden)), kGolden);
}

TEST(AccountsFile, PassesOverEmptyLinesAndComments) {
  const AccountsFile file = ParseAccounts("vexo-accounts-1\t2\n\n# by hand\n1\ta\toff\t/a\t/b");
  ASSERT_EQ(file.accounts.size(), 1U);
  EXPECT_EQ(file.accounts.front().preference_folder, "/b");
}

TEST(AccountsFile, RefusesADamagedTextAndNamesItsLine) {
  struct Row {
    const char *what, *text, *line;
  };
  const Row rows[] = {
      {"nothing", "", "line 1"},
      {"another format", "vexo-accounts-2\t1\n", "line 1"},
      {"no next id", "vexo-accounts-1\n", "line 1"},
      {"a next id of 0", "vexo-accounts-1\t0\n", "line 1"},
      {"a field too few", "vexo-accounts-1\t2\n1\ta\toff\t/a\n", "line 2"},
      {"a field without a name", "vexo-accounts-1\t2\n1\ta\toff\t/a\t/b\tc\n", "line 2"},
      {"another switch", "vexo-accounts-1\t2\n1\ta\toff\t/a\t/b\tadmin=1\n", "line 2"},
      {"no generation", "vexo-accounts-1\t2\n1\ta\toff\t/a\t/b\tgeneration=-1\n", "line 2"},
      {"the last of all generations",
       "vexo-accounts-1\t2\n1\ta\toff\t/a\t/b\tgeneration=9223372036854775807\n", "line 2"},
      {"an id that is no number", "vexo-accounts-1\t2\nx\ta\toff\t/a\t/b\n", "line 2"},
      {"an id of 0", "vexo-accounts-1\t2\n0\ta\toff\t/a\t/b\n", "line 2"},
      {"an id beyond 32 bits", "vexo-accounts-1\t2\n4294967297\ta\toff\t/a\t/b\n", "line 2"},
      {"an id not given away yet", "vexo-accounts-1\t2\n2\ta\toff\t/a\t/b\n", "line 2"},
      {"a bad name", "vexo-accounts-1\t2\n1\ta/b\toff\t/a\t/b\n", "line 2"},
      {"a bad switch", "vexo-accounts-1\t2\n1\ta\tyes\t/a\t/b\n", "line 2"},
      {"a relative folder", "vexo-accounts-1\t2\n\n1\ta\toff\ta\t/b\n", "line 3"},
      {"a text cut short", "vexo-accounts-1\t2\n1\ta\tof", "line 2"},
  };
  for (const Row &row : rows) {
    try {
      ParseAccounts(row.text);
      ADD_FAILURE() << row.what;
    } catch (const std::runtime_error &error) {
      EXPECT_NE(std::string(error.what()).find(row.line), std::string::npos) << row.what;
    }
  }
}

TEST(IsAccountName, AcceptsPlainNames) {
  for (const char *name : {"a", "Z", "0", "alice.b-c_D9", "...", "-", "a..b"}) {
    EXPECT_TRUE(IsAccountName(name)) << name;
  }
  EXPECT_TRUE(IsAccountName(std::string(64, 'a')));
}

TEST(IsAccountName, RefusesOthers) {
  for (const char *name :
       {"", ".", "..", "a b", "a/b", "a:b", "a\tb", "a\n", "caf\xC3\xA9", "a@b"}) {
    EXPECT_FALSE(IsAccountName(name)) << name;
  }
  EXPECT_FALSE(IsAccountName(std::string(65, 'a')));
  EXPECT_FALSE(IsAccountName(std::string_view("a\0b", 3)));
}

} // namespace
} // namespace vexo::accounts
