#include "accounts/accounts.h"
#include "index/media_index.h"
#include "playlistctl/command_line.h"
#include "support/device_root.h"
#include <crypt.h>
#include <gmock/gmock.h>
#include <iostream>
#include <sstream>

namespace vexo::tools {
namespace {

using accounts::FindAccount;
using ::testing::MatchesRegex;

class AccountCommand : public DeviceRootTest {
protected:
  /// Runs the command line with `input` on its standard input; gives what it prints.
  static std::string Run(const std::vector<std::string> &arguments, const std::string &input = "") {
    std::istringstream in(input);
    std::ostringstream out;
    const Redirection redirection(in, out);
    EXPECT_EQ(RunCommandLine(arguments), 0);
    return out.str();
  }

  static std::string HashOf(const std::string &name) {
    std::istringstream lines(ReadBytes(system::kPasswordFile));
    for (std::string line; std::getline(lines, line);) {
      if (line.starts_with(name + ":")) {
        return line.substr(name.size() + 1);
      }
    }
    return "";
  }

  static bool IsPassword(const std::string &name, const std::string &password) {
    const std::string hash = HashOf(name);
    return !hash.empty() && hash == crypt(password.c_str(), hash.c_str());
  }

private:
  class Redirection {
  public:
    Redirection(std::istream &in, std::ostream &out)
        : in_(std::cin.rdbuf(in.rdbuf())), out_(std::cout.rdbuf(out.rdbuf())) {}
    ~Redirection() {
      std::cin.rdbuf(in_);
      std::cin.clear();
      std::cout.rdbuf(out_);
    }

  private:
    std::streambuf *in_, *out_;
  };
};

std::string PrintedPassword(const std::string &output) {
  const std::string label = "password: ";
  const std::size_t begin = output.find(label) + label.size();
  return output.substr(begin, output.find('\n', begin) - begin);
}

TEST_F(AccountCommand, AddsAnAccountWithAPasswordOfItsOwn) {
  const std::string output = Run({"account", "add", "anna"});
  EXPECT_THAT(output, MatchesRegex("password: [a-z2-9]+\naccount: anna\nid: 1\n"));
  EXPECT_TRUE(IsPassword("anna", PrintedPassword(output)));
  EXPECT_FALSE(FindAccount("anna")->personal_library);
}

TEST_F(AccountCommand, ReadsAPasswordFromTheStandardInput) {
  EXPECT_EQ(Run({"account", "add", "anna", "--password-stdin"}, "pass w:ord\nnext line\n"),
            "account: anna\nid: 1\n");
  EXPECT_TRUE(IsPassword("anna", "pass w:ord"));
}

TEST_F(AccountCommand, AddsNobodyWithoutAPassword) {
  EXPECT_THROW(Run({"account", "add", "anna", "--password-stdin"}, ""), std::invalid_argument);
  EXPECT_FALSE(FindAccount("anna"));
  EXPECT_EQ(HashOf("anna"), "");
}

TEST_F(AccountCommand, KeepsThePasswordOfANameThatIsTaken) {
  Run({"account", "add", "anna", "--password-stdin"}, "first\n");
  EXPECT_THROW(Run({"account", "add", "anna", "--password-stdin"}, "second\n"),
               std::invalid_argument);
  EXPECT_TRUE(FindAccount("anna"));
  EXPECT_TRUE(IsPassword("anna", "first"));
}

TEST_F(AccountCommand, TakesTheFoldersItIsTold) {
  Run({"account", "add", "anna", "--personal", "on", "--personal-folder", library() + "/anna",
       "--preference-folder", library() + "/prefs"});
  EXPECT_TRUE(FindAccount("anna")->personal_library);
  EXPECT_EQ(FindAccount("anna")->personal_folder, library() + "/anna");
  EXPECT_EQ(FindAccount("anna")->preference_folder, library() + "/prefs");
}

TEST_F(AccountCommand, ChangesOnlyWhatItIsTold) {
  Run({"account", "add", "anna", "--personal", "on"});
  const accounts::Account before = *FindAccount("anna");
  Run({"account", "set", "anna", "--personal-folder", library() + "/anna"});
  EXPECT_TRUE(FindAccount("anna")->personal_library);
  EXPECT_EQ(FindAccount("anna")->personal_folder, library() + "/anna");
  EXPECT_EQ(FindAccount("anna")->preference_folder, before.preference_folder);
  Run({"account", "set", "anna", "--personal", "off"});
  EXPECT_FALSE(FindAccount("anna")->personal_library);
  EXPECT_EQ(FindAccount("anna")->id, before.id);
}

TEST_F(AccountCommand, MakesAdmins) {
  Run({"account", "add", "anna", "--admin", "on"});
  Run({"account", "add", "ben"});
  EXPECT_TRUE(FindAccount("anna")->admin);
  EXPECT_FALSE(FindAccount("ben")->admin);
  EXPECT_THAT(Run({"account", "list"}), MatchesRegex("1\tanna\t.*/anna\tadmin\n2\tben\t.*/ben\n"));
  Run({"account", "set", "anna", "--personal", "on"});
  EXPECT_TRUE(FindAccount("anna")->admin);
  Run({"account", "set", "anna", "--admin", "off"});
  EXPECT_FALSE(FindAccount("anna")->admin);
}

TEST_F(AccountCommand, EndsSessionsByAnotherPasswordAndByLoggingOut) {
  Run({"account", "add", "anna"});
  Run({"account", "passwd", "anna"});
  EXPECT_EQ(FindAccount("anna")->generation, 1);
  EXPECT_EQ(Run({"account", "logout", "anna"}), "");
  EXPECT_EQ(FindAccount("anna")->generation, 2);
  EXPECT_THROW(Run({"account", "logout", "nobody"}), std::invalid_argument);
}

TEST_F(AccountCommand, ListsAnAccountALine) {
  EXPECT_EQ(Run({"account", "list"}), "");
  Run({"account", "add", "anna", "--personal", "on"});
  Run({"account", "add", "ben"});
  const std::string preferences = system::kPreferences;
  EXPECT_EQ(Run({"account", "list"}), "1\tanna\t" + std::string(system::kHomes) + "/anna/music\t" +
                                          preferences + "/anna\n2\tben\t-\t" + preferences +
                                          "/ben\n");
}

TEST_F(AccountCommand, RemovesTheAccountAndItsPassword) {
  Run({"account", "add", "anna"});
  Run({"account", "remove", "anna"});
  EXPECT_FALSE(FindAccount("anna"));
  EXPECT_EQ(HashOf("anna"), "");
  EXPECT_TRUE(std::filesystem::exists(std::string(system::kPreferences) + "/anna"));
}

TEST_F(AccountCommand, RemovesWhatTheIndexKnowsOfTheAccountsSongs) {
  Run({"account", "add", "anna", "--personal", "on"});
  const int anna = FindAccount("anna")->id;
  const auto index = index::OpenMediaIndex();
  index::Song song;
  song.path = "/srv/a song.mp3";
  for (song.owner = anna; song.owner <= anna + 1; ++song.owner) {
    index->WriteSongs({song}, {});
    index->AddPlaylist({0, song.owner, "/srv/a.m3u", "a", "", "", "", 0});
  }
  Run({"account", "remove", "anna"});
  EXPECT_TRUE(index->SongFiles(anna).empty());
  EXPECT_TRUE(index->AllPlaylists(anna).empty());
  EXPECT_EQ(index->SongFiles(anna + 1).size(), 1U);
  EXPECT_EQ(index->AllPlaylists(anna + 1).size(), 1U);
}

TEST_F(AccountCommand, RemovesAnAccountWithoutMakingAnIndex) {
  Run({"account", "add", "anna"});
  Run({"account", "remove", "anna"});
  EXPECT_FALSE(std::filesystem::exists(system::kIndexFile));
}

TEST_F(AccountCommand, GivesAnotherPassword) {
  const std::string first = PrintedPassword(Run({"account", "add", "anna"}));
  const std::string second = PrintedPassword(Run({"account", "passwd", "anna"}));
  EXPECT_FALSE(IsPassword("anna", first));
  EXPECT_TRUE(IsPassword("anna", second));
  EXPECT_EQ(Run({"account", "passwd", "anna", "--password-stdin"}, "third\n"),
            "The web server may go by the old password for up to 15 seconds.\n");
  EXPECT_TRUE(IsPassword("anna", "third"));
}

TEST_F(AccountCommand, FailsForANameThatHasNoAccount) {
  EXPECT_THROW(Run({"account", "set", "anna", "--personal", "on"}), std::exception);
  EXPECT_THROW(Run({"account", "remove", "anna"}), std::invalid_argument);
  EXPECT_THROW(Run({"account", "passwd", "anna"}), std::invalid_argument);
  EXPECT_EQ(HashOf("anna"), "");
}

TEST_F(AccountCommand, RefusesACommandLineThatIsNone) {
  for (const std::vector<std::string> &arguments :
       std::vector<std::vector<std::string>>{{"account"},
                                             {"account", "add"},
                                             {"account", "frob"},
                                             {"account", "add", "anna", "--personal", "maybe"},
                                             {"account", "add", "anna", "ben"}}) {
    ::testing::internal::CaptureStderr();
    EXPECT_GE(RunCommandLine(arguments), 100) << arguments.back();
    EXPECT_NE(::testing::internal::GetCapturedStderr(), "");
  }
  EXPECT_FALSE(FindAccount("anna"));
}

} // namespace
} // namespace vexo::tools
