// Many processes edit one playlist at once, while others rename it and read it. Every song is
// counted.
#include "contract/playlists/playlists_test.h"
#include "support/processes.h"
#include <cstdio>

namespace vexo::playlists {
namespace {

constexpr int kAppenders = 12, kEditsEach = 15, kSplicers = 4, kRemovers = 4;

/// The playlist under test: in the shared library, or in a preference folder.
class Concurrency : public Playlists, public ::testing::WithParamInterface<bool> {
protected:
  void SetUp() override {
    Playlists::SetUp();
    folder_ = IsInLibrary() ? library() + "/playlists" : Preferences("bob") + "/playlists";
    one_ = folder_ + "/one.m3u";
    other_ = folder_ + "/other.m3u";
    // Splices and removals meet these only.
    const std::string content = M3u(Texts(200, "/filler"));
    WriteBytes(one_, content);
    if (IsInLibrary()) {
      id_ = AddShared("one.m3u", content);
    }
    index::SetProcessIndex(nullptr);
  }

  [[nodiscard]] static bool IsInLibrary() { return GetParam(); }

  /// Tries an edit until it succeeds; a playlist of a preference folder is looked for by both
  /// names.
  template <typename Edit> [[nodiscard]] bool Until(Edit edit) const {
    for (int attempt = 0; attempt < 2000; ++attempt) {
      if (edit(one_) == 0 || (!IsInLibrary() && edit(other_) == 0)) {
        return true;
      }
    }
    return false;
  }
  [[nodiscard]] bool Append(const std::string &song) const {
    const auto songs = MakeSongs({song});
    return Until([&](const std::string &path) {
      return IsInLibrary() ? VEXOPlaylistAppendSongs("shared", 0, id_.c_str(), songs.get(), 1)
                           : VEXOPersonalPlaylistAppendSongs(path.c_str(), songs.get(), 1);
    });
  }
  [[nodiscard]] bool Splice(const std::string &song) const {
    const auto songs = MakeSongs({song});
    return Until([&](const std::string &path) {
      return IsInLibrary() ? VEXOPlaylistUpdateSongs("shared", 0, id_.c_str(), songs.get(), 0, 1)
                           : VEXOPersonalPlaylistUpdateSongs(path.c_str(), songs.get(), 0, 1);
    });
  }
  [[nodiscard]] bool RemoveOne() const {
    return Until([&](const std::string &path) {
      return IsInLibrary() ? VEXOPlaylistRemoveSongs("shared", 0, id_.c_str(), "100")
                           : VEXOPersonalPlaylistRemoveSongs(path.c_str(), "100");
    });
  }
  /// Writes the row anew from what it was a moment ago, as a request does after its edit.
  [[nodiscard]] bool Refresh() const {
    VEXOPlaylistRow *row = nullptr;
    if (VEXOPlayListListGetByID("shared", 0, &row, id_.c_str()) != 0) {
      return false;
    }
    const int result = VEXOPlaylistDBUpdate("shared", 0, &row->info, std::stoi(id_));
    VEXOPlayListFree(row);
    return result == 0;
  }
  /// Renames as a request does: the file, then its row.
  void Rename(const std::string &from, const std::string &to) const {
    if (std::rename(from.c_str(), to.c_str()) == 0 && IsInLibrary()) {
      const auto record = MakeRecord(to, "renamed");
      EXPECT_EQ(VEXOPlaylistDBUpdate("shared", 0, &record, from.c_str()), 0);
    }
  }
  /// Whether a reader sees a whole list: a head, and lines that end.
  [[nodiscard]] bool ReadsWhole() const {
    for (const std::string &path : {one_, other_}) {
      const std::string content = ReadBytes(path);
      if (!content.empty() && (!content.starts_with(kM3uHead) || !content.ends_with('\n'))) {
        return false;
      }
    }
    return true;
  }

  int Work(int process) const {
    for (int i = 0; i < kEditsEach; ++i) {
      const std::string song = "/" + std::to_string(process) + "-" + std::to_string(i);
      if (process < kAppenders) {
        if (!Append(song) || (IsInLibrary() && !Refresh())) {
          return 1;
        }
      } else if (process < kAppenders + kSplicers) {
        if (!Splice("/filler")) {
          return 2;
        }
      } else if (process < kAppenders + kSplicers + kRemovers) {
        if (!RemoveOne()) {
          return 3;
        }
      } else if (process == kAppenders + kSplicers + kRemovers) {
        Rename(one_, other_);
        Rename(other_, one_);
      } else if (!ReadsWhole()) {
        return 4;
      }
    }
    return ::testing::Test::HasFailure() ? 5 : 0;
  }

  std::string folder_, one_, other_, id_;
};

TEST_P(Concurrency, LosesNoEditAndBringsNoNameBack) {
  constexpr int kProcesses = kAppenders + kSplicers + kRemovers + 2;
  EXPECT_EQ(RunAtOnce(kProcesses, [this](int process) { return Work(process); }), kProcesses);
  EXPECT_EQ(Names(folder_), std::set<std::string>{"one.m3u"});
  const Texts songs = ReadPaths(one_);
  EXPECT_EQ(songs.size(), 200U + kAppenders * kEditsEach - kRemovers * kEditsEach);
  const std::set<std::string> different(songs.begin(), songs.end());
  EXPECT_EQ(different.size(), 1U + kAppenders * kEditsEach);
  if (IsInLibrary()) {
    EXPECT_EQ(IdOf("shared", 0, one_), id_);
  }
}

std::string StorageName(const ::testing::TestParamInfo<bool> &test) {
  return test.param ? "InALibrary" : "InAPreferenceFolder";
}

INSTANTIATE_TEST_SUITE_P(Storages, Concurrency, ::testing::Bool(), StorageName);

} // namespace
} // namespace vexo::playlists
