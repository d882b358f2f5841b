#include "vexo/itunes.h"

#include "accounts/accounts.h"
#include "host/core.h"
#include "support.h"
#include <cstring>
#include <filesystem>
#include <vector>

namespace {

namespace fs = std::filesystem;

class ITunesTest : public DeviceRootTest {
protected:
  void SetUp() override {
    DeviceRootTest::SetUp();
    vexo::accounts::Account account;
    account.name = "ann";
    vexo::accounts::AddAccount(account);
    const std::string preferences = vexo::accounts::FindAccount("ann")->preference_folder;
    fs::create_directories(preferences + "/playlists");
    own_rules_ = preferences + "/playlists/smart.playlist";
  }

  /// Copies a playlist as "duplicate" does: into the file that has none of the name, or over it.
  static int Copy(const std::string &from, const char *name, const std::string &to,
                  const char *over = nullptr) {
    Record record;
    EXPECT_EQ(iTunesPlaylistGetByFilename(from.c_str(), name, &record), 0);
    return iTunesPlaylistSetByFilename(to.c_str(), over, &record);
  }

  static int Delete(const std::string &file, const std::vector<std::string> &names) {
    VLIBCSzList list{names};
    return iTunesPlaylistDeleteByFilename(file.c_str(), &list);
  }

  std::string own_rules_;
};

const std::string kRoad = "\"Road\"  {  # long drives\n  year>1970   AND not rating<3\n\t}";

TEST_F(ITunesTest, GetGivesTheNameAndTheRules) {
  WriteBytes(kSharedRules, kRoad);
  Record record;
  EXPECT_EQ(iTunesPlaylistGetByFilename(kSharedRules.c_str(), "Road", &record), 0);
  EXPECT_STREQ(record.name, "Road");
  EXPECT_NE(record.nodes, nullptr);
}

TEST_F(ITunesTest, GetOfAnotherNameFailsWithoutALogLine) {
  WriteBytes(kSharedRules, kRoad);
  Record record;
  EXPECT_EQ(LoggedBy([&] {
              EXPECT_EQ(iTunesPlaylistGetByFilename(kSharedRules.c_str(), "road", &record), -1);
            }),
            "");
  EXPECT_EQ(record.nodes, nullptr);
}

TEST_F(ITunesTest, GetOfAFileThatIsNotThereFails) {
  Record record;
  EXPECT_EQ(iTunesPlaylistGetByFilename(kSharedRules.c_str(), "Road", &record), -1);
}

TEST_F(ITunesTest, GetOfAFolderFails) {
  Record record;
  EXPECT_EQ(iTunesPlaylistGetByFilename(DEVICE_ROOT "/etc", "Road", &record), -1);
}

TEST_F(ITunesTest, ABrokenPlaylistIsUnusableWithOneLogLineAndTheOthersWork) {
  WriteBytes(kSharedRules, "# mine\n\"Bad\" {\n  artist = \"x\"\n}\n" + kRoad);
  Record record;
  const std::string logged = LoggedBy(
      [&] { EXPECT_EQ(iTunesPlaylistGetByFilename(kSharedRules.c_str(), "Bad", &record), -1); });
  EXPECT_EQ(logged, "test: iTunesPlaylistGetByFilename: " + kSharedRules +
                        ":3:10: expected is, includes, starts with or ends with\n");
  EXPECT_EQ(record.nodes, nullptr);
  EXPECT_EQ(iTunesPlaylistGetByFilename(kSharedRules.c_str(), "Road", &record), 0);
}

TEST_F(ITunesTest, APlaylistWhoseNameIsBrokenIsToldByTheTextThatBelongsToNone) {
  WriteBytes(kSharedRules, "\n Jazz { year = 1 }\n");
  Record record;
  EXPECT_EQ(LoggedBy([&] {
              EXPECT_EQ(iTunesPlaylistGetByFilename(kSharedRules.c_str(), "Jazz", &record), -1);
            }),
            "test: " + kSharedRules + ":2:2: this belongs to no playlist\n");
}

TEST_F(ITunesTest, ACopyCarriesTheBlockAsItWasWritten) {
  WriteBytes(kSharedRules, "# shared\n" + kRoad + " \"Other\" {year=1}");
  WriteBytes(own_rules_, "");
  EXPECT_EQ(Copy(kSharedRules, "Road", own_rules_), 0);
  EXPECT_EQ(ReadBytes(own_rules_), kRoad + "\n");
}

TEST_F(ITunesTest, SetWithoutANameKeepsEveryByteThatIsThere) {
  const std::string there = "# mine \xff\r\n\"Bad\" { =\n";
  WriteBytes(kSharedRules, there);
  WriteBytes(own_rules_, kRoad);
  EXPECT_EQ(Copy(own_rules_, "Road", kSharedRules), 0);
  EXPECT_EQ(ReadBytes(kSharedRules), there + kRoad + "\n");
}

TEST_F(ITunesTest, SetWithANameReplacesThatPlaylistOnly) {
  WriteBytes(kSharedRules, "# a\n\"Road\" {year=1}   # b\n\"Other\"{year=2}");
  WriteBytes(own_rules_, kRoad);
  EXPECT_EQ(Copy(own_rules_, "Road", kSharedRules, "Road"), 0);
  EXPECT_EQ(ReadBytes(kSharedRules), "# a\n" + kRoad + "   # b\n\"Other\"{year=2}");
}

TEST_F(ITunesTest, SetReplacesABrokenPlaylist) {
  WriteBytes(kSharedRules, "\"Road\" { title is \"x }\n\"Other\"{year=2}");
  WriteBytes(own_rules_, kRoad);
  EXPECT_EQ(Copy(own_rules_, "Road", kSharedRules, "Road"), 0);
  EXPECT_EQ(ReadBytes(kSharedRules), kRoad + "\n\"Other\"{year=2}");
}

TEST_F(ITunesTest, SetMakesTheFile) {
  WriteBytes(own_rules_, kRoad);
  EXPECT_EQ(Copy(own_rules_, "Road", kSharedRules), 0);
  EXPECT_EQ(ReadBytes(kSharedRules), kRoad + "\n");
}

TEST_F(ITunesTest, SetFailsWhereTheFolderIsMissing) {
  WriteBytes(kSharedRules, kRoad);
  fs::remove_all(fs::path(own_rules_).parent_path());
  EXPECT_LT(Copy(kSharedRules, "Road", own_rules_), 0);
  EXPECT_FALSE(fs::exists(fs::path(own_rules_).parent_path()));
}

TEST_F(ITunesTest, SetOfANameThatIsThereAddsNoSecond) {
  WriteBytes(own_rules_, kRoad);
  WriteBytes(kSharedRules, "\"Road\" {year=1}");
  EXPECT_LT(Copy(own_rules_, "Road", kSharedRules), 0);
  EXPECT_EQ(ReadBytes(kSharedRules), "\"Road\" {year=1}");
}

TEST_F(ITunesTest, SetOverANameThatIsNotThereFails) {
  WriteBytes(own_rules_, kRoad);
  WriteBytes(kSharedRules, "\"Other\" {year=1}");
  EXPECT_LT(Copy(own_rules_, "Road", kSharedRules, "Road"), 0);
  EXPECT_EQ(ReadBytes(kSharedRules), "\"Other\" {year=1}");
}

TEST_F(ITunesTest, SetWithoutRulesFails) {
  WriteBytes(kSharedRules, kRoad);
  Record record;
  std::strcpy(record.name, "New");
  EXPECT_LT(iTunesPlaylistSetByFilename(kSharedRules.c_str(), nullptr, &record), 0);
  EXPECT_EQ(ReadBytes(kSharedRules), kRoad);
}

TEST_F(ITunesTest, ARecordThatGotAnotherNameIsWrittenUnderThatName) {
  WriteBytes(kSharedRules, kRoad);
  Record record;
  ASSERT_EQ(iTunesPlaylistGetByFilename(kSharedRules.c_str(), "Road", &record), 0);
  std::strcpy(record.name, "Sea \"1\"");
  EXPECT_EQ(iTunesPlaylistSetByFilename(kSharedRules.c_str(), "Road", &record), 0);
  EXPECT_EQ(ReadBytes(kSharedRules), "\"Sea \\\"1\\\"\"" + kRoad.substr(6));
}

TEST_F(ITunesTest, ANameThatNoStringCanHoldIsRefused) {
  WriteBytes(kSharedRules, kRoad);
  for (const char *name : {"a\nb", "\"\n} \"x\" {", "\xff", ""}) {
    Record record;
    ASSERT_EQ(iTunesPlaylistGetByFilename(kSharedRules.c_str(), "Road", &record), 0);
    std::strcpy(record.name, name);
    EXPECT_LT(iTunesPlaylistSetByFilename(kSharedRules.c_str(), nullptr, &record), 0) << name;
    EXPECT_EQ(ReadBytes(kSharedRules), kRoad);
  }
}

TEST_F(ITunesTest, ANewNameThatAnotherPlaylistHasIsRefused) {
  WriteBytes(kSharedRules, kRoad + "\n\"Sea\" {year=1}");
  Record record;
  ASSERT_EQ(iTunesPlaylistGetByFilename(kSharedRules.c_str(), "Road", &record), 0);
  std::strcpy(record.name, "Sea");
  EXPECT_LT(iTunesPlaylistSetByFilename(kSharedRules.c_str(), "Road", &record), 0);
  EXPECT_EQ(ReadBytes(kSharedRules), kRoad + "\n\"Sea\" {year=1}");
}

TEST_F(ITunesTest, ANameLongerThanTheRecordIsCutThereAndWholeInTheCopy) {
  std::string name(253, 'x');
  name += "é and more";
  WriteBytes(kSharedRules, "\"" + name + "\" {year=1}");
  Record record;
  ASSERT_EQ(iTunesPlaylistGetByFilename(kSharedRules.c_str(), name.c_str(), &record), 0);
  EXPECT_EQ(record.name, std::string(253, 'x'));
  EXPECT_EQ(iTunesPlaylistSetByFilename(own_rules_.c_str(), nullptr, &record), 0);
  EXPECT_EQ(IsiTunesPlaylistExistByFilename(own_rules_.c_str(), name.c_str()), 1);
}

TEST_F(ITunesTest, ExistsByItsExactName) {
  WriteBytes(kSharedRules, kRoad + R"( "a \"b\" \\" {year=1} "Bad" { ")");
  const auto exists = [](const char *name) {
    return IsiTunesPlaylistExistByFilename(kSharedRules.c_str(), name);
  };
  EXPECT_EQ(exists("Road"), 1);
  EXPECT_EQ(exists("a \"b\" \\"), 1);
  EXPECT_EQ(exists("Bad"), 1) << "a broken playlist takes its name, too";
  EXPECT_EQ(exists("road"), 0);
  EXPECT_EQ(exists("Roa"), 0);
  EXPECT_EQ(exists(""), 0);
  EXPECT_EQ(exists("a \\\"b\\\" \\\\"), 0);
}

TEST_F(ITunesTest, NothingExistsInAFileThatIsNotThere) {
  EXPECT_EQ(
      LoggedBy([] { EXPECT_EQ(IsiTunesPlaylistExistByFilename(kSharedRules.c_str(), "Road"), 0); }),
      "");
}

TEST_F(ITunesTest, DeletesSeveralNamesInOneEditAndKeepsEveryOtherByte) {
  WriteBytes(kSharedRules, "# a\n" + kRoad + "#b\n\"Bad\" {(\n\"C\" {year=1} \"D\" {year=2}");
  EXPECT_EQ(Delete(kSharedRules, {"Road", "absent", "D"}), 0);
  EXPECT_EQ(ReadBytes(kSharedRules), "# a\n#b\n\"Bad\" {(\n\"C\" {year=1} ");
}

TEST_F(ITunesTest, DeletingNamesThatAreNotThereLeavesTheFileAlone) {
  WriteBytes(kSharedRules, kRoad);
  const auto written = fs::last_write_time(kSharedRules);
  EXPECT_EQ(Delete(kSharedRules, {"absent"}), 0);
  EXPECT_EQ(Delete(kSharedRules, {}), 0);
  EXPECT_EQ(fs::last_write_time(kSharedRules), written);
}

TEST_F(ITunesTest, DeletingFromAFileThatIsNotThereFails) {
  EXPECT_LT(Delete(kSharedRules, {"Road"}), 0);
  EXPECT_FALSE(fs::exists(kSharedRules));
}

TEST_F(ITunesTest, NullArgumentsFail) {
  Record record;
  EXPECT_LT(iTunesPlaylistGetByFilename(nullptr, "x", &record), 0);
  EXPECT_LT(iTunesPlaylistGetByFilename("x", nullptr, &record), 0);
  EXPECT_LT(iTunesPlaylistGetByFilename("x", "x", nullptr), 0);
  EXPECT_LT(iTunesPlaylistSetByFilename(nullptr, "x", &record), 0);
  EXPECT_LT(iTunesPlaylistSetByFilename("x", "x", nullptr), 0);
  EXPECT_EQ(IsiTunesPlaylistExistByFilename(nullptr, "x"), 0);
  EXPECT_EQ(IsiTunesPlaylistExistByFilename("x", nullptr), 0);
  EXPECT_LT(iTunesPlaylistDeleteByFilename(nullptr, nullptr), 0);
  iTunesPLNodesFree(nullptr);
}

// Edges.

TEST_F(ITunesTest, OnlyTheSharedFileAndAccountsOwnFilesAreWritten) {
  WriteBytes(kSharedRules, kRoad);
  const std::string preferences = DEVICE_ROOT "/var/lib/vexo/preferences";
  fs::create_directories(preferences + "/bob/playlists");
  for (const std::string &file :
       {preferences + "/bob/playlists/smart.playlist", preferences + "/ann/smart.playlist",
        preferences + "/ann/playlists/other.playlist",
        preferences + "/ann/playlists/../playlists/smart.playlist",
        std::string(DEVICE_ROOT "/etc/other.playlist"), library() + "/playlists/smart.playlist"}) {
    EXPECT_LT(Copy(kSharedRules, "Road", file), 0) << file;
    EXPECT_FALSE(fs::exists(file)) << file;
    fs::create_directories(fs::path(file).parent_path());
    WriteBytes(file, kRoad);
    EXPECT_LT(Delete(file, {"Road"}), 0) << file;
    EXPECT_EQ(ReadBytes(file), kRoad) << file;
    fs::remove(file);
  }
}

TEST_F(ITunesTest, WhatALinkLeadsToIsWrittenAndTheLinkStays) {
  const std::string shared = library() + "/rules of the administrator";
  const std::string own = fs::path(own_rules_).parent_path() / "rules of the user";
  for (const auto &[link, target] : {std::pair(kSharedRules, shared), std::pair(own_rules_, own)}) {
    fs::remove(link);
    WriteBytes(target, kRoad);
    fs::create_symlink(target, link);
    EXPECT_EQ(Delete(link, {"Road"}), 0) << link;
    EXPECT_EQ(ReadBytes(target).find("Road"), std::string::npos) << link;
    EXPECT_TRUE(fs::is_symlink(link));
  }
}

TEST_F(ITunesTest, ALinkOutOfAUsersFolderIsNotWritten) {
  const std::string outside = library() + "/outside";
  WriteBytes(outside, kRoad);
  fs::create_symlink(outside, own_rules_);
  EXPECT_LT(Delete(own_rules_, {"Road"}), 0);
  EXPECT_EQ(ReadBytes(outside), kRoad);
  EXPECT_TRUE(fs::is_symlink(own_rules_));
}

TEST_F(ITunesTest, ALinkInThePlaceOfTheFolderIsNotFollowed) {
  fs::remove_all(fs::path(own_rules_).parent_path());
  fs::create_directory_symlink(library(), fs::path(own_rules_).parent_path());
  WriteBytes(library() + "/smart.playlist", kRoad);
  EXPECT_LT(Delete(own_rules_, {"Road"}), 0);
  EXPECT_EQ(ReadBytes(library() + "/smart.playlist"), kRoad);
}

// Size.

std::string PaddedTo(std::size_t size) {
  const std::string end = "\n" + kRoad;
  return "#" + std::string(size - end.size() - 1, 'x') + end;
}

constexpr std::size_t kLargest = std::size_t{16} << 20;

TEST_F(ITunesTest, AFileOf16MebibytesIsReadAndOneByteMoreIsRefused) {
  WriteBytes(kSharedRules, PaddedTo(kLargest));
  EXPECT_EQ(IsiTunesPlaylistExistByFilename(kSharedRules.c_str(), "Road"), 1);
  WriteBytes(kSharedRules, PaddedTo(kLargest + 1));
  EXPECT_EQ(IsiTunesPlaylistExistByFilename(kSharedRules.c_str(), "Road"), 0);
  EXPECT_LT(Delete(kSharedRules, {"Road"}), 0);
  EXPECT_EQ(fs::file_size(kSharedRules), kLargest + 1);
}

TEST_F(ITunesTest, AnEditThatMakesTheFileTooLargeIsRefused) {
  const std::string full = PaddedTo(kLargest);
  WriteBytes(kSharedRules, full);
  WriteBytes(own_rules_, "\"New\" {year=1}");
  EXPECT_LT(Copy(own_rules_, "New", kSharedRules), 0);
  EXPECT_EQ(ReadBytes(kSharedRules), full);
}

// Several processes.

TEST_F(ITunesTest, EditsOfManyProcessesAllArrive) {
  constexpr int kProcesses = 16;
  WriteBytes(kSharedRules, "# kept");
  std::string source;
  for (int i = 0; i < kProcesses; ++i) {
    source += "\"P" + std::to_string(i) + "\" {year=" + std::to_string(i) + "}\n";
  }
  WriteBytes(own_rules_, source);
  EXPECT_EQ(RunAtOnce(kProcesses,
                      [this](int i) {
                        return Copy(own_rules_, ("P" + std::to_string(i)).c_str(), kSharedRules);
                      }),
            kProcesses);
  for (int i = 0; i < kProcesses; ++i) {
    EXPECT_EQ(
        IsiTunesPlaylistExistByFilename(kSharedRules.c_str(), ("P" + std::to_string(i)).c_str()),
        1);
  }
  EXPECT_TRUE(ReadBytes(kSharedRules).starts_with("# kept\n"));
}

TEST_F(ITunesTest, OfManyCopiesOfOneNameExactlyOneIsAdded) {
  WriteBytes(own_rules_, kRoad);
  EXPECT_EQ(RunAtOnce(16, [this](int) { return Copy(own_rules_, "Road", kSharedRules); }), 1);
  EXPECT_EQ(ReadBytes(kSharedRules), kRoad + "\n");
}

/// The body may be killed at any system call: the shared rules are then `before` or `after`, and
/// the same edit made once more succeeds or finds its work done.
template <typename Body>
void ExpectOldOrNew(const std::string &before, const std::string &after, Body body) {
  bool ended = false;
  for (int stop = 0; !ended; ++stop) {
    WriteBytes(kSharedRules, before);
    ended = EndsBeforeStop(stop, body);
    const std::string left = ReadBytes(kSharedRules);
    ASSERT_TRUE(left == before || left == after) << "killed at stop " << stop << ":\n" << left;
    body();
    ASSERT_EQ(ReadBytes(kSharedRules), after) << "again, after stop " << stop;
  }
}

TEST_F(ITunesTest, AKilledAddLeavesTheOldFileOrTheNew) {
  WriteBytes(own_rules_, kRoad);
  ExpectOldOrNew("# kept\n", "# kept\n" + kRoad + "\n",
                 [this] { static_cast<void>(Copy(own_rules_, "Road", kSharedRules)); });
}

TEST_F(ITunesTest, AKilledReplacementLeavesTheOldFileOrTheNew) {
  WriteBytes(own_rules_, kRoad);
  ExpectOldOrNew("\"Road\" {year=1} # kept\n", kRoad + " # kept\n",
                 [this] { static_cast<void>(Copy(own_rules_, "Road", kSharedRules, "Road")); });
}

TEST_F(ITunesTest, AKilledDeletionLeavesTheOldFileOrTheNew) {
  ExpectOldOrNew(kRoad + " # kept\n", " # kept\n",
                 [] { static_cast<void>(Delete(kSharedRules, {"Road"})); });
}

} // namespace
