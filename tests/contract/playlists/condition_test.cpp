// Edits that are made only as long as the playlist has a version which the client has seen.
#include "contract/playlists/playlists_test.h"
#include "files/durable_file.h"
#include "playlists/condition.h"
#include "playlists/held_versions.h"
#include "playlists/rows.h"
#include "playlists/version.h"
#include "support/faults.h"
#include <cerrno>
#include <sys/wait.h>
#include <unistd.h>

namespace vexo::playlists {
namespace {

class Conditions : public Playlists {
protected:
  void SetUp() override {
    Playlists::SetUp();
    id_ = AddShared("a.m3u", old_);
    WriteBytes(bobs_, old_);
    ForgetWriting();
  }
  void TearDown() override {
    ForgetWriting();
    Playlists::TearDown();
  }

  static void DemandVersionOf(const std::string &content) {
    SetCondition({false, {"0", ContentVersion(content)}});
  }
  [[nodiscard]] int Append() const {
    return VEXOPlaylistAppendSongs("shared", 0, id_.c_str(), MakeSongs({"/new"}).get(), 1);
  }

  const std::string path_ = Shared("a.m3u"), bobs_ = Preferences("bob") + "/playlists/b.m3u";
  const std::string old_ = M3u({"/old", "/songs"}), other_ = M3u({"/other"});
  std::string id_;
};

/// Every edit of songs, by row and by path: 0 when it was made.
struct SongEdit {
  const char *name;
  int (*edit)(const std::string &id, const std::string &path);
};

const SongEdit kEdits[] = {
    {"append",
     [](const std::string &id, const std::string &) {
       return VEXOPlaylistAppendSongs("shared", 0, id.c_str(), MakeSongs({"/new"}).get(), 1);
     }},
    {"update",
     [](const std::string &id, const std::string &) {
       return VEXOPlaylistUpdateSongs("shared", 0, id.c_str(), MakeSongs({"/new"}).get(), 0, 1);
     }},
    {"remove",
     [](const std::string &id, const std::string &) {
       return VEXOPlaylistRemoveSongs("shared", 0, id.c_str(), "0");
     }},
    {"remove missing",
     [](const std::string &id, const std::string &) {
       return VEXOPlaylistRemoveMissing("shared", 0, id.c_str());
     }},
    {"append to a file",
     [](const std::string &, const std::string &path) {
       return VEXOPersonalPlaylistAppendSongs(path.c_str(), MakeSongs({"/new"}).get(), 1);
     }},
    {"update a file",
     [](const std::string &, const std::string &path) {
       return VEXOPersonalPlaylistUpdateSongs(path.c_str(), MakeSongs({"/new"}).get(), 0, 1);
     }},
    {"remove from a file",
     [](const std::string &, const std::string &path) {
       return VEXOPersonalPlaylistRemoveSongs(path.c_str(), "0");
     }},
    {"remove missing from a file",
     [](const std::string &, const std::string &path) {
       return VEXOPersonalPlaylistRemoveMissing(path.c_str());
     }},
    {"replace",
     [](const std::string &, const std::string &path) {
       return VEXOWriteMusicPlaylist(MakeSongs({"/new"}).get(), path.c_str());
     }},
    {"make empty",
     [](const std::string &, const std::string &path) {
       const int written = VEXOWriteMusicPlaylist(nullptr, path.c_str());
       return FinishWriting() ? written : -1;
     }},
};

TEST_F(Conditions, ThatHoldLetEveryEditPass) {
  for (const SongEdit &edit : kEdits) {
    for (const bool any : {false, true}) {
      WriteBytes(path_, old_);
      WriteBytes(bobs_, old_);
      ForgetWriting();
      DemandVersionOf(old_);
      if (any) {
        SetCondition({true, {}});
      }
      EXPECT_EQ(edit.edit(id_, bobs_), 0) << edit.name;
      EXPECT_TRUE(IsConditionMet()) << edit.name;
      EXPECT_FALSE(HasConditionFailed()) << edit.name;
    }
  }
}

TEST_F(Conditions, ThatDoNotHoldLetNoEditPass) {
  for (const SongEdit &edit : kEdits) {
    for (const std::string &seen : {old_ + "\n", std::string(), std::string("#EXTM3U\n")}) {
      ForgetWriting();
      DemandVersionOf(seen);
      EXPECT_EQ(edit.edit(id_, bobs_), -1) << edit.name;
      EXPECT_TRUE(HasConditionFailed()) << edit.name;
      EXPECT_FALSE(IsConditionMet()) << edit.name;
      EXPECT_EQ(ReadBytes(path_), old_) << edit.name;
      EXPECT_EQ(ReadBytes(bobs_), old_) << edit.name;
      EXPECT_FALSE(NotedVersion()) << edit.name;
    }
  }
}

TEST_F(Conditions, OfNoVersionAtAllHoldForNothing) {
  SetCondition({});
  EXPECT_EQ(Append(), -1);
  EXPECT_TRUE(HasConditionFailed());
}

TEST_F(Conditions, HoldForNothingThatIsNotThere) {
  const std::string absent = Shared("absent.m3u");
  SetCondition({true, {}});
  EXPECT_EQ(VEXOWriteMusicPlaylist(MakeSongs({"/new"}).get(), absent.c_str()), -1);
  EXPECT_EQ(VEXOWriteMusicPlaylist(nullptr, absent.c_str()), -1);
  EXPECT_TRUE(HasConditionFailed());
  EXPECT_FALSE(fs::exists(absent));
  EXPECT_THROW(HoldFile(absent), VersionError);
  EXPECT_THROW(HoldRowsFile(0, 12345), VersionError);
}

TEST_F(Conditions, AreOfTheFirstEditWhereOneMakesSeveral) {
  DemandVersionOf(old_);
  EXPECT_EQ(Append(), 0);
  EXPECT_EQ(Append(), 0) << "what this process wrote, it knows";
  EXPECT_EQ(ReadBytes(path_), old_ + "/new\n/new\n");
  WriteBytes(path_, other_);
  EXPECT_EQ(Append(), -1);
}

TEST_F(Conditions, AreNotAskedForByDefault) {
  EXPECT_EQ(Append(), 0);
  EXPECT_FALSE(HasCondition());
  EXPECT_FALSE(IsConditionMet());
}

TEST_F(Conditions, TellTheVersionOfALargeListToWhoDemandsOne) {
  std::string large = "#EXTM3U\n";
  while (large.size() < std::size_t{1} << 20U) {
    large += "/a song of a long list\n";
  }
  WriteBytes(path_, large);
  EXPECT_EQ(Append(), 0);
  EXPECT_FALSE(NotedVersion());
  SetCondition({false, {ContentVersion(ReadBytes(path_))}});
  EXPECT_EQ(Append(), 0);
  EXPECT_EQ(NotedVersion(), ContentVersion(ReadBytes(path_)));
}

TEST_F(Conditions, LeaveTheVersionThatAnEditMakes) {
  for (const SongEdit &edit : kEdits) {
    ForgetWriting();
    EXPECT_EQ(edit.edit(id_, bobs_), 0) << edit.name;
    const std::string shared = ContentVersion(ReadBytes(path_));
    const std::string bobs = ContentVersion(ReadBytes(bobs_));
    EXPECT_TRUE(NotedVersion() == shared || NotedVersion() == bobs) << edit.name;
  }
  ForgetWriting();
  EXPECT_EQ(VEXOWriteMusicPlaylist(nullptr, Shared("new.m3u").c_str()), 0);
  EXPECT_EQ(NotedVersion(), ContentVersion(ReadBytes(Shared("new.m3u"))));
  EXPECT_EQ(VEXOWriteMusicPlaylist(MakeSongs({"/x"}).get(), Shared("c.m3u").c_str()), 0);
  EXPECT_EQ(NotedVersion(), ContentVersion(ReadBytes(Shared("c.m3u"))));
}

TEST(ContentVersion, IsTheSameOfPieces) {
  const std::string text(100'000, 'x');
  for (const std::size_t cut : {0U, 1U, 100U, 240U, 241U, 99'999U, 100'000U}) {
    const files::Pieces pieces{std::string_view(text).substr(0, cut), "",
                               std::string_view(text).substr(cut)};
    EXPECT_EQ(ContentVersion(pieces), ContentVersion(text)) << cut;
  }
  EXPECT_EQ(ContentVersion(files::Pieces()), ContentVersion(""));
}

/// Runs `edit` in processes of their own at the same time; gives how many made it.
int CountSuccesses(int processes, const std::function<bool()> &edit) {
  for (int i = 0; i < processes; ++i) {
    if (fork() == 0) {
      index::SetProcessIndex(nullptr);
      bool made = false;
      try {
        made = edit();
      } catch (const VersionError &) {
        made = false;
      }
      _exit(made ? 1 : 0);
    }
  }
  int made = 0;
  for (int i = 0; i < processes; ++i) {
    int status = 0;
    wait(&status);
    EXPECT_TRUE(WIFEXITED(status));
    made += WEXITSTATUS(status);
  }
  return made;
}

TEST_F(Conditions, LetOneOfManyEqualEditsPass) {
  constexpr int kProcesses = 12;
  for (const SongEdit &edit : kEdits) {
    if (std::string_view(edit.name).starts_with("remove missing")) {
      continue; // changes nothing here
    }
    WriteBytes(path_, old_);
    WriteBytes(bobs_, old_);
    EXPECT_EQ(CountSuccesses(kProcesses,
                             [&] {
                               DemandVersionOf(old_);
                               return edit.edit(id_, bobs_) == 0;
                             }),
              1)
        << edit.name;
  }
}

TEST_F(Conditions, LoseNoEditOfThoseWhoLookAgain) {
  constexpr int kProcesses = 8;
  EXPECT_EQ(CountSuccesses(kProcesses,
                           [&] {
                             for (int tries = 0; tries < 1000; ++tries) {
                               ForgetWriting();
                               DemandVersionOf(ReadBytes(path_));
                               if (Append() == 0) {
                                 return true;
                               }
                             }
                             return false;
                           }),
            kProcesses);
  EXPECT_EQ(ReadPaths(path_).size(), 2U + kProcesses);
}

TEST_F(Conditions, LetOneOfManyRemovalsAndEditsPass) {
  constexpr int kProcesses = 12;
  EXPECT_EQ(CountSuccesses(kProcesses,
                           [&] {
                             DemandVersionOf(old_);
                             if (getpid() % 2 == 0) {
                               return Append() == 0;
                             }
                             HoldRowsFile(0, std::stoi(id_));
                             RemoveRows({{0, std::stoi(id_)}});
                             return true;
                           }),
            1);
}

class HeldFiles : public Conditions {};

TEST_F(HeldFiles, GiveTheirVersions) {
  SetCondition({true, {}});
  EXPECT_EQ(HoldFile(bobs_), ContentVersion(old_));
  EXPECT_EQ(HoldRowsFile(0, std::stoi(id_)), ContentVersion(old_));
  EXPECT_TRUE(IsConditionMet());
}

TEST_F(HeldFiles, ThatAnotherMachineReplacedMeanwhileAreTakenAnew) {
  SetCondition({true, {}});
  const faults::Fault fault(faults::Call::kLock, 1, ESTALE);
  EXPECT_EQ(HoldFile(bobs_), ContentVersion(old_));
  EXPECT_TRUE(faults::Fault::Happened());
}

TEST_F(HeldFiles, OfAnotherVersionAreNotHeld) {
  DemandVersionOf(other_);
  EXPECT_THROW(HoldFile(bobs_), VersionError);
  EXPECT_THROW(HoldRowsFile(0, std::stoi(id_)), VersionError);
  EXPECT_EQ(CountSuccesses(1,
                           [&] {
                             ForgetWriting();
                             return Append() == 0;
                           }),
            1);
}

TEST_F(HeldFiles, LieInPlaylistsFolders) {
  SetCondition({true, {}});
  EXPECT_ANY_THROW(HoldFile(library() + "/song.mp3"));
  fs::create_symlink(library() + "/song.mp3", Shared("link.m3u"));
  EXPECT_ANY_THROW(HoldFile(Shared("link.m3u")));
  EXPECT_FALSE(IsConditionMet());
}

/// Another process holds the file, does `then` a moment after this one goes on, and ends.
class Holder {
public:
  Holder(const std::function<void()> &hold, const std::function<void()> &then) {
    int told[2];
    EXPECT_EQ(pipe(told), 0);
    process_ = fork();
    if (process_ == 0) {
      index::SetProcessIndex(nullptr);
      SetCondition({true, {}});
      hold();
      (void)!write(told[1], "x", 1);
      usleep(300'000);
      then();
      _exit(0);
    }
    char byte = 0;
    EXPECT_EQ(read(told[0], &byte, 1), 1);
    close(told[0]);
    close(told[1]);
  }
  ~Holder() { waitpid(process_, nullptr, 0); }
  Holder(const Holder &) = delete;
  Holder &operator=(const Holder &) = delete;

private:
  pid_t process_;
};

TEST_F(HeldFiles, MakeOthersWaitUntilTheProcessEnds) {
  const Holder holder([&] { HoldRowsFile(0, std::stoi(id_)); }, [&] { fs::remove(path_); });
  DemandVersionOf(old_);
  EXPECT_EQ(VEXOWriteMusicPlaylist(MakeSongs({"/new"}).get(), path_.c_str()), -1);
  EXPECT_TRUE(HasConditionFailed());
  EXPECT_FALSE(fs::exists(path_));
}

TEST_F(HeldFiles, AreThoseAtTheNameOnceTheLockIsHad) {
  const Holder holder([&] { HoldFile(bobs_); },
                      [&] {
                        WriteBytes(bobs_ + ".new", other_);
                        fs::rename(bobs_ + ".new", bobs_);
                      });
  DemandVersionOf(old_);
  EXPECT_THROW(HoldFile(bobs_), VersionError);
}

} // namespace
} // namespace vexo::playlists
