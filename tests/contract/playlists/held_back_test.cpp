// Empty lists that are held back, and those that are not written at all.
#include "contract/playlists/playlists_test.h"
#include "playlists/write_playlist.h"
#include "support/faults.h"
#include <sys/wait.h>
#include <unistd.h>

namespace vexo::playlists {
namespace {

class EmptyLists : public Playlists {
protected:
  void SetUp() override {
    Playlists::SetUp();
    WriteBytes(path_, old_);
  }
  void TearDown() override {
    ForgetWriting();
    Playlists::TearDown();
  }

  [[nodiscard]] int WriteEmpty() const { return VEXOWriteMusicPlaylist(nullptr, path_.c_str()); }
  [[nodiscard]] int WriteNew() const {
    return VEXOWriteMusicPlaylist(MakeSongs({"/new"}).get(), path_.c_str());
  }
  [[nodiscard]] std::string Content() const { return ReadBytes(path_); }

  const std::string path_ = Shared("a.m3u");
  const std::string old_ = M3u({"/old", "/songs"}), new_ = M3u({"/new"});
};

TEST_F(EmptyLists, AreWrittenOverSongsAtTheEnd) {
  EXPECT_EQ(WriteEmpty(), 0);
  EXPECT_EQ(WriteEmpty(), 0);
  EXPECT_EQ(Content(), old_);
  EXPECT_TRUE(FinishWriting());
  EXPECT_EQ(Content(), M3u({}));
}

TEST_F(EmptyLists, OfSongsWithoutPathsAreEmptyToo) {
  const VEXOPlaylistRec song{};
  EXPECT_EQ(VEXOWriteMusicPlaylist(&song, path_.c_str()), 0);
  EXPECT_EQ(Content(), old_);
  EXPECT_TRUE(FinishWriting());
  EXPECT_EQ(Content(), M3u({}));
}

TEST_F(EmptyLists, AreForgottenWhenSongsCome) {
  EXPECT_EQ(WriteEmpty(), 0);
  EXPECT_EQ(WriteNew(), 0);
  EXPECT_TRUE(FinishWriting());
  EXPECT_EQ(Content(), new_);
}

TEST_F(EmptyLists, AreTheSameByAnotherPath) {
  EXPECT_EQ(VEXOWriteMusicPlaylist(nullptr,
                                   (std::string(system::kMusicLink) + "/playlists/a.m3u").c_str()),
            0);
  EXPECT_EQ(WriteNew(), 0);
  EXPECT_TRUE(FinishWriting());
  EXPECT_EQ(Content(), new_);
}

TEST_F(EmptyLists, AreForgottenWhenTheSongsCannotBeWritten) {
  EXPECT_EQ(WriteEmpty(), 0);
  {
    const faults::Fault fault(faults::Call::kWrite, 1, ENOSPC);
    EXPECT_EQ(WriteNew(), -1);
  }
  EXPECT_TRUE(FinishWriting());
  EXPECT_EQ(Content(), old_);
}

TEST_F(EmptyLists, ThatCannotBeWrittenAreAFailureAtTheEnd) {
  EXPECT_EQ(WriteEmpty(), 0);
  const faults::Fault fault(faults::Call::kSync, 1, EIO);
  EXPECT_FALSE(FinishWriting());
  EXPECT_EQ(Content(), old_);
}

TEST_F(EmptyLists, DoNotBringBackAListThatIsGone) {
  EXPECT_EQ(WriteEmpty(), 0);
  fs::rename(path_, Shared("b.m3u"));
  EXPECT_FALSE(FinishWriting());
  EXPECT_EQ(Names(library() + "/playlists"), std::set<std::string>{"b.m3u"});
  EXPECT_EQ(ReadBytes(Shared("b.m3u")), old_);
}

TEST_F(EmptyLists, AreMadeDurableWhenTheyAreNew) {
  ASSERT_EQ(VEXOWriteMusicPlaylist(nullptr, Shared("new.m3u").c_str()), 0);
  EXPECT_EQ(ReadBytes(Shared("new.m3u")), M3u({}));
  const faults::Fault fault(faults::Call::kSync, 2, EIO);
  EXPECT_FALSE(FinishWriting()) << "file and folder are synced";
  EXPECT_TRUE(faults::Fault::Happened());
}

TEST_F(EmptyLists, AreWrittenByAProcessThatEnds) {
  const pid_t child = fork();
  if (child == 0) {
    std::exit(WriteEmpty());
  }
  int status = -1;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(Content(), M3u({}));
}

TEST_F(EmptyLists, BeforeSongsLeaveTheOldListOrTheNewOneWhereverTheProcessIsKilled) {
  std::set<std::string> seen;
  for (int step = 1, killed = 1; killed != 0; ++step) {
    WriteBytes(path_, old_);
    const auto overwrite = [&] {
      (void)WriteEmpty();
      (void)WriteNew();
    };
    killed = faults::KilledAt(step, overwrite) ? 1 : 0;
    seen.insert(Content());
  }
  EXPECT_EQ(seen, (std::set<std::string>{old_, new_}));
}

TEST_F(EmptyLists, AreRefusedAfterAListThatCouldNotBeRead) {
  EXPECT_EQ(WriteEmpty(), 0);
  int count = 0;
  EXPECT_EQ(ParsePlayListByFieldGivenPath(Shared("none.m3u").c_str(), &count, 0, 0, "*", 7),
            nullptr);
  EXPECT_EQ(WriteEmpty(), -1);
  EXPECT_EQ(VEXOWriteMusicPlaylist(nullptr, Shared("new.m3u").c_str()), -1);
  EXPECT_FALSE(FinishWriting()) << "nor is what was held back before";
  EXPECT_EQ(Content(), old_);
  EXPECT_EQ(WriteNew(), 0) << "songs are songs";
}

/// A new empty list that songs are to be copied to, from one that cannot be read.
class NewEmptyLists : public EmptyLists {
protected:
  void SetUp() override {
    EmptyLists::SetUp();
    ASSERT_EQ(Write(), 0);
  }
  [[nodiscard]] int Write() const { return VEXOWriteMusicPlaylist(nullptr, new_path_.c_str()); }
  [[nodiscard]] int WriteAfterAFailedRead() const {
    NoteUnread(Unread::kFailed);
    return Write();
  }

  const std::string new_path_ = Shared("new.m3u");
};

TEST_F(NewEmptyLists, GoWhenTheirSongsCannotBeRead) {
  EXPECT_EQ(WriteAfterAFailedRead(), -1);
  EXPECT_EQ(Names(library() + "/playlists"), std::set<std::string>{"a.m3u"});
  EXPECT_TRUE(FinishWriting());
}

TEST_F(NewEmptyLists, StayWithTheirRows) {
  __tag_VEXO_MEDIA_INFO record{};
  new_path_.copy(record.path, sizeof(record.path) - 1);
  ASSERT_EQ(VEXOPlaylistDBSave(&record), 0);
  EXPECT_EQ(WriteAfterAFailedRead(), -1);
  EXPECT_EQ(ReadBytes(new_path_), M3u({}));
}

TEST_F(NewEmptyLists, StayWhenSomebodyElseHasWrittenThem) {
  WriteBytes(new_path_, old_);
  EXPECT_EQ(WriteAfterAFailedRead(), -1);
  EXPECT_EQ(ReadBytes(new_path_), old_);
}

TEST_F(NewEmptyLists, StayWhenSomebodyElseHasMadeThem) {
  fs::rename(new_path_, Shared("renamed.m3u"));
  WriteBytes(new_path_, M3u({}));
  EXPECT_EQ(WriteAfterAFailedRead(), -1);
  EXPECT_EQ(ReadBytes(new_path_), M3u({}));
  EXPECT_EQ(ReadBytes(Shared("renamed.m3u")), M3u({}));
}

TEST_F(NewEmptyLists, StayWhenTheyChangeAtTheLastMoment) {
  faults::BeforeNextRename([&] { WriteBytes(new_path_, old_); });
  EXPECT_EQ(WriteAfterAFailedRead(), -1);
  EXPECT_EQ(Names(library() + "/playlists"), (std::set<std::string>{"a.m3u", "new.m3u"}));
  EXPECT_EQ(ReadBytes(new_path_), old_);
}

TEST_F(EmptyLists, AreRefusedAfterASearchThatFailed) {
  WriteBytes(system::kIndexFile, "no database at all");
  VEXOPlaylistRec *found = nullptr;
  EXPECT_EQ(VEXOMusicListAll("shared", 0, &found, 8, "a", "album", 1, 0, 0), -1);
  EXPECT_EQ(WriteEmpty(), -1);
  EXPECT_EQ(Content(), old_);
}

} // namespace
} // namespace vexo::playlists
