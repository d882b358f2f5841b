#include "accounts/accounts.h"
#include "support/device_root.h"
#include "vexo/audio_file.h"
#include "vexo/users.h"
#include <array>
#include <set>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

namespace vexo::accounts {
namespace {

using system::kAccountsFile;

class Accounts : public DeviceRootTest {};

Account Named(const std::string &name) {
  Account account;
  account.name = name;
  return account;
}

TEST_F(Accounts, AreNoneWithoutAFile) {
  EXPECT_TRUE(ListAccounts().empty());
  EXPECT_FALSE(FindAccount("alice"));
  EXPECT_FALSE(FindAccount(1));
}

TEST_F(Accounts, ThatAreAddedAreFoundByNameAndById) {
  const int id = AddAccount(Named("alice"));
  EXPECT_GT(id, 0);
  EXPECT_EQ(FindAccount("alice")->id, id);
  EXPECT_EQ(FindAccount(id)->name, "alice");
}

TEST_F(Accounts, HaveDefaultFoldersOfTheirOwn) {
  AddAccount(Named("alice"));
  const Account account = *FindAccount("alice");
  EXPECT_EQ(account.personal_folder, DEVICE_ROOT "/var/services/homes/alice/music");
  EXPECT_EQ(account.preference_folder, DEVICE_ROOT "/var/lib/vexo/preferences/alice");
}

TEST_F(Accounts, HaveThePreferenceFolderFromTheStart) {
  AddAccount(Named("alice"));
  EXPECT_TRUE(std::filesystem::is_directory(FindAccount("alice")->preference_folder));
}

TEST_F(Accounts, HaveThePersonalFolderWhenItIsOn) {
  Account on = Named("on");
  on.personal_library = true;
  AddAccount(on);
  AddAccount(Named("off"));
  EXPECT_TRUE(std::filesystem::is_directory(FindAccount("on")->personal_folder));
  EXPECT_FALSE(std::filesystem::exists(FindAccount("off")->personal_folder));
}

TEST_F(Accounts, HaveFoldersThatOnlyTheirOwnerMayWrite) {
  const mode_t old = umask(0);
  Account account = Named("alice");
  account.personal_library = true;
  AddAccount(account);
  umask(old);
  for (const std::string &folder :
       {FindAccount("alice")->personal_folder, FindAccount("alice")->preference_folder}) {
    for (const char *const inside : {"", "/playlists"}) {
      EXPECT_EQ(std::filesystem::status(folder + inside).permissions(),
                std::filesystem::perms(0755))
          << folder << inside;
    }
  }
}

TEST_F(Accounts, LeaveAnEmptyFolderThatIsThereEmpty) {
  Account account = Named("alice");
  account.personal_library = true;
  for (const char *const name : {"empty", "full"}) {
    account.name = name;
    account.personal_folder = library() + "/" + name;
    std::filesystem::create_directory(account.personal_folder);
    if (account.name == "full") {
      WriteBytes(account.personal_folder + "/song.mp3", "");
    }
    AddAccount(account);
    EXPECT_EQ(std::filesystem::exists(account.personal_folder + "/playlists"),
              account.name == "full")
        << "a disk may not be mounted there";
  }
}

TEST_F(Accounts, NeverGetAnIdThatWasUsed) {
  const int first = AddAccount(Named("first"));
  const int second = AddAccount(Named("second"));
  RemoveAccount("second");
  RemoveAccount("first");
  const int third = AddAccount(Named("first"));
  EXPECT_NE(third, first);
  EXPECT_NE(third, second);
}

TEST_F(Accounts, KeepNameAndIdWhenTheyAreChanged) {
  const int id = AddAccount(Named("alice"));
  ChangeAccount("alice", [](Account &account) {
    account.name = "bob";
    account.id = 77;
    account.personal_library = true;
  });
  EXPECT_EQ(FindAccount("alice")->id, id);
  EXPECT_TRUE(FindAccount("alice")->personal_library);
  EXPECT_TRUE(std::filesystem::is_directory(FindAccount("alice")->personal_folder));
  EXPECT_FALSE(FindAccount("bob"));
}

TEST_F(Accounts, AreRaisedToTheNextGenerationWhenTheirSessionsEnd) {
  AddAccount(Named("alice"));
  AddAccount(Named("bob"));
  EXPECT_EQ(FindAccount("alice")->generation, 0);
  EndSessions("alice");
  EndSessions("alice");
  EXPECT_EQ(FindAccount("alice")->generation, 2);
  EXPECT_EQ(FindAccount("bob")->generation, 0);
  ChangeAccount("alice", [](Account &account) { account.generation = 0; });
  EXPECT_EQ(FindAccount("alice")->generation, 2) << "no other change takes it back";
  EXPECT_THROW(EndSessions("carol"), std::invalid_argument);
}

TEST_F(Accounts, AreAdminsWhenTheyAreMadeSo) {
  AddAccount(Named("alice"));
  EXPECT_FALSE(FindAccount("alice")->admin);
  ChangeAccount("alice", [](Account &account) { account.admin = true; });
  EXPECT_TRUE(FindAccount("alice")->admin);
}

TEST_F(Accounts, ThatExistAreNotAddedTwice) {
  AddAccount(Named("alice"));
  const std::string before = ReadBytes(kAccountsFile);
  EXPECT_THROW(AddAccount(Named("alice")), std::invalid_argument);
  EXPECT_EQ(ReadBytes(kAccountsFile), before);
}

TEST_F(Accounts, AreDistinctInLetterCase) {
  EXPECT_NE(AddAccount(Named("alice")), AddAccount(Named("Alice")));
}

TEST_F(Accounts, ThatDoNotExistCannotBeChangedOrRemoved) {
  AddAccount(Named("alice"));
  EXPECT_THROW(RemoveAccount("bob"), std::invalid_argument);
  EXPECT_THROW(ChangeAccount("bob", [](Account &) {}), std::invalid_argument);
}

TEST_F(Accounts, ThatWereRemovedAreToldByTheirIds) {
  EXPECT_TRUE(RemovedAccountIds().empty());
  std::vector<int> removed;
  for (const char *name : {"alice", "bob", "carol"}) {
    removed.push_back(AddAccount(Named(name)));
  }
  EXPECT_TRUE(RemovedAccountIds().empty());
  RemoveAccount("carol");
  RemoveAccount("alice");
  EXPECT_EQ(RemovedAccountIds(), (std::vector{removed[0], removed[2]}));
}

TEST_F(Accounts, WithABadNameAreRefused) {
  for (const char *name : {"", "..", "a/b", "a b", "a:b"}) {
    EXPECT_THROW(AddAccount(Named(name)), std::invalid_argument) << name;
  }
  EXPECT_FALSE(std::filesystem::exists(kAccountsFile));
}

TEST_F(Accounts, WithAFolderThatIsNonePlainAreRefused) {
  AddAccount(Named("alice"));
  for (const char *folder : {"relative", "/", "/ends/", "/tab\there", "/line\nbreak"}) {
    EXPECT_THROW(ChangeAccount("alice", [&](Account &a) { a.preference_folder = folder; }),
                 std::invalid_argument)
        << folder;
  }
}

TEST_F(Accounts, OfADamagedFileAreAnErrorNotAnEmptyList) {
  WriteBytes(kAccountsFile, "garbage\n");
  EXPECT_THROW(ListAccounts(), std::runtime_error);
  EXPECT_THROW(AddAccount(Named("alice")), std::runtime_error);
  EXPECT_EQ(ReadBytes(kAccountsFile), "garbage\n");
}

TEST_F(Accounts, AddedByManyProcessesAtOnceAllExistWithIdsOfTheirOwn) {
  constexpr int kProcesses = 16;
  for (int i = 0; i < kProcesses; ++i) {
    if (fork() == 0) {
      _exit(AddAccount(Named("user" + std::to_string(i))) > 0 ? 0 : 1);
    }
  }
  for (int i = 0; i < kProcesses; ++i) {
    int status = 0;
    wait(&status);
    EXPECT_EQ(status, 0);
  }
  std::set<int> ids;
  for (const Account &account : ListAccounts()) {
    ids.insert(account.id);
  }
  EXPECT_EQ(ids.size(), static_cast<std::size_t>(kProcesses));
}

TEST_F(Accounts, OfOneNameAddedByManyProcessesIsOne) {
  constexpr int kProcesses = 8;
  for (int i = 0; i < kProcesses; ++i) {
    if (fork() == 0) {
      try {
        AddAccount(Named("alice"));
        _exit(0);
      } catch (const std::invalid_argument &) {
        _exit(1);
      }
    }
  }
  int added = 0;
  for (int i = 0; i < kProcesses; ++i) {
    int status = 0;
    wait(&status);
    added += WIFEXITED(status) && WEXITSTATUS(status) == 0 ? 1 : 0;
  }
  EXPECT_EQ(added, 1);
  EXPECT_EQ(ListAccounts().size(), 1U);
}

TEST_F(Accounts, AnswerTheHostsQuestions) {
  Account alice = Named("alice");
  alice.personal_library = true;
  const int id = AddAccount(alice);
  AddAccount(Named("bob"));
  EXPECT_EQ(GetUserIdFromName("alice"), id);
  EXPECT_EQ(IsPersonalLibEnabled("alice"), 1);
  EXPECT_EQ(IsPersonalLibEnabled("bob"), 0);
  EXPECT_NE(AudioUsers::GetUserPermission("bob"), 0);
}

TEST_F(Accounts, ThatAreNotKnownHaveNoIdLibraryOrPermission) {
  for (const char *name : {"nobody", "", static_cast<const char *>(nullptr)}) {
    EXPECT_EQ(GetUserIdFromName(name), -1);
    EXPECT_EQ(IsPersonalLibEnabled(name), 0);
    EXPECT_EQ(AudioUsers::GetUserPermission(name), 0);
  }
}

TEST_F(Accounts, OfADamagedFileAreNotKnownToTheHost) {
  WriteBytes(kAccountsFile, "garbage\n");
  EXPECT_EQ(GetUserIdFromName("alice"), -1);
  EXPECT_EQ(IsPersonalLibEnabled("alice"), 0);
  EXPECT_EQ(AudioUsers::GetUserPermission("alice"), 0);
}

TEST_F(Accounts, GiveTheFolderOfThePersonalLibrary) {
  Account alice = Named("alice");
  alice.personal_library = true;
  alice.personal_folder = library() + "/alice";
  AddAccount(alice);
  std::array<char, 4096> buffer{};
  EXPECT_EQ(AudioFile::GetPersonalLibraryFolderPath("alice", buffer.data(), 4096), 1);
  EXPECT_EQ(buffer.data(), library() + "/alice");
}

TEST_F(Accounts, GiveNoFolderWhenThereIsNoneOrNoRoom) {
  AddAccount(Named("off"));
  Account on = Named("on");
  on.personal_library = true;
  AddAccount(on);
  std::array<char, 4096> buffer{"old"};
  EXPECT_EQ(AudioFile::GetPersonalLibraryFolderPath("off", buffer.data(), 4096), 0);
  EXPECT_EQ(AudioFile::GetPersonalLibraryFolderPath("nobody", buffer.data(), 4096), 0);
  EXPECT_EQ(AudioFile::GetPersonalLibraryFolderPath("on", buffer.data(), 5), 0);
  EXPECT_EQ(AudioFile::GetPersonalLibraryFolderPath("on", nullptr, 4096), 0);
  EXPECT_STREQ(buffer.data(), "old");
}

} // namespace
} // namespace vexo::accounts
