#include "accounts/passwords.h"
#include "support/device_root.h"
#include <algorithm>
#include <chrono>
#include <crypt.h>
#include <set>
#include <stdexcept>

namespace vexo::accounts {
namespace {

using system::kPasswordFile;

class Passwords : public DeviceRootTest {
protected:
  /// Whether the password file holds exactly one line for `name`, and `password` opens it.
  static bool Opens(const std::string &name, const std::string &password) {
    std::istringstream lines(ReadBytes(kPasswordFile));
    std::string line, found;
    int count = 0;
    while (std::getline(lines, line)) {
      if (line.starts_with(name + ":")) {
        found = line.substr(name.size() + 1);
        ++count;
      }
    }
    return count == 1 && found == crypt(password.c_str(), found.c_str());
  }
};

TEST_F(Passwords, AreKeptAsHashes) {
  SetPassword("alice", "secret");
  EXPECT_TRUE(Opens("alice", "secret"));
  EXPECT_FALSE(Opens("alice", "Secret"));
  EXPECT_EQ(ReadBytes(kPasswordFile).find("secret"), std::string::npos);
}

TEST_F(Passwords, AreReplaced) {
  SetPassword("alice", "first");
  SetPassword("al", "other");
  SetPassword("alice", "second");
  EXPECT_TRUE(Opens("alice", "second"));
  EXPECT_TRUE(Opens("al", "other"));
}

TEST_F(Passwords, AreRemovedWithoutTouchingOthers) {
  SetPassword("alice", "one");
  SetPassword("alice2", "two");
  RemovePassword("alice");
  EXPECT_FALSE(Opens("alice", "one"));
  EXPECT_TRUE(Opens("alice2", "two"));
  RemovePassword("nobody");
  EXPECT_TRUE(Opens("alice2", "two"));
}

TEST_F(Passwords, OfTwoUsersDifferThoughTheyAreEqual) {
  SetPassword("a", "same");
  const std::string first = ReadBytes(kPasswordFile).substr(2);
  SetPassword("a", "same");
  EXPECT_NE(ReadBytes(kPasswordFile).substr(2), first);
}

TEST_F(Passwords, AreNotForEverybodyToRead) {
  SetPassword("alice", "secret");
  const auto mode = std::filesystem::status(kPasswordFile).permissions();
  EXPECT_EQ(mode & std::filesystem::perms::others_all, std::filesystem::perms::none);
}

TEST_F(Passwords, MayHoldAnyOtherCharacter) {
  const std::string password = "a:b c\t$\xC3\xA9%";
  SetPassword("alice", password);
  EXPECT_TRUE(Opens("alice", password));
}

TEST_F(Passwords, ThatCannotBeOnesAreRefused) {
  for (const std::string &password : {std::string(), std::string("a\nb"), std::string("a\r"),
                                      std::string("a\0b", 3), std::string(513, 'a')}) {
    EXPECT_THROW(SetPassword("alice", password), std::invalid_argument) << password.size();
  }
  EXPECT_FALSE(std::filesystem::exists(kPasswordFile));
}

TEST_F(Passwords, AreVerified) {
  SetPassword("alice", "secret");
  SetPassword("al", "other");
  EXPECT_TRUE(VerifyPassword("alice", "secret"));
  EXPECT_TRUE(VerifyPassword("al", "other"));
  for (const std::string &password :
       {std::string("other"), std::string(), std::string("secret "), std::string("Secret"),
        std::string("secret\0", 7), std::string(513, 'a'), std::string("secret\n")}) {
    EXPECT_FALSE(VerifyPassword("alice", password)) << password;
  }
  for (const char *name : {"bob", "", "alic", "alice:"}) {
    EXPECT_FALSE(VerifyPassword(name, "secret")) << name;
  }
}

TEST_F(Passwords, AreOfNobodyWithoutAFile) { EXPECT_FALSE(VerifyPassword("alice", "secret")); }

TEST_F(Passwords, AreVerifiedByTheFirstLineAndByOtherMethodsOfCrypt) {
  WriteBytes(kPasswordFile, "alice:" + std::string(crypt("first", "$6$salt$")) + "\nalice:" +
                                std::string(crypt("second", "$6$salt$")) + "\nbob:*\ncarol:\n");
  EXPECT_TRUE(VerifyPassword("alice", "first"));
  EXPECT_FALSE(VerifyPassword("alice", "second"));
  for (const char *locked : {"bob", "carol"}) {
    EXPECT_FALSE(VerifyPassword(locked, "*")) << locked;
  }
}

/// The time of the quickest of some questions.
double SecondsToRefuse(const char *name) {
  double best = 1e9;
  for (int i = 0; i < 5; ++i) {
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_FALSE(VerifyPassword(name, "wrong"));
    best = std::min(
        best, std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count());
  }
  return best;
}

TEST_F(Passwords, TakeAsLongToRefuseForAStranger) {
  SetPassword("alice", "secret");
  const double known = SecondsToRefuse("alice"), unknown = SecondsToRefuse("nobody");
  EXPECT_GT(known, 0.001);
  EXPECT_LT(known, unknown * 2);
  EXPECT_LT(unknown, known * 2);
}

TEST(GeneratePassword, DrawsTwentyLettersAnew) {
  std::set<std::string> passwords;
  for (int i = 0; i < 100; ++i) {
    const std::string password = GeneratePassword();
    EXPECT_EQ(password.size(), 20U);
    EXPECT_EQ(password.find_first_not_of("abcdefghijkmnpqrstuvwxyz23456789"), std::string::npos);
    passwords.insert(password);
  }
  EXPECT_EQ(passwords.size(), 100U);
}

} // namespace
} // namespace vexo::accounts
