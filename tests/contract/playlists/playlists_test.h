#pragma once
#include "accounts/accounts.h"
#include "files/file_io.h"
#include "host/records.h"
#include "index/media_index.h"
#include "playlists/m3u.h"
#include "playlists/write_playlist.h"
#include "support/device_root.h"
#include "system/paths.h"
#include "vexo/audio_file.h"
#include "vexo/media_index.h"
#include "vexo/playlist_file.h"
#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace vexo::playlists {

namespace fs = std::filesystem;
using Texts = std::vector<std::string>;

/// A record with these texts.
inline __tag_VEXO_MEDIA_INFO MakeRecord(const std::string &path, const std::string &title = "",
                                        const std::string &artist = "", float duration = 0) {
  __tag_VEXO_MEDIA_INFO record{};
  host::CopyText(record.path, path);
  host::CopyText(record.title, title);
  host::CopyText(record.artist, artist);
  record.duration = duration;
  return record;
}

/// A list of songs with these paths and nothing else.
inline host::SongList MakeSongs(const Texts &paths) {
  return host::MakeSongList(paths.size(), [&](__tag_VEXO_MEDIA_INFO &record, std::size_t position) {
    host::CopyText(record.path, paths[position]);
  });
}

inline std::string M3u(const Texts &lines) {
  std::string content(kM3uHead);
  for (const std::string &line : lines) {
    content += line + "\n";
  }
  return content;
}

/// What the pieces of an edit make together.
inline std::string Text(const files::Pieces &pieces) {
  std::string text;
  for (const std::string_view piece : pieces) {
    text += piece;
  }
  return text;
}

inline Texts PathsOf(const VEXOPlaylistRec *song) {
  Texts paths;
  for (; song != nullptr; song = song->next) {
    paths.emplace_back(song->info.path);
  }
  return paths;
}

/// A device with two users: alice has a personal library, bob has not.
class Playlists : public DeviceRootTest {
protected:
  void SetUp() override {
    DeviceRootTest::SetUp();
    unsetenv("REMOTE_USER");
    index::SetProcessIndex(nullptr);
    ForgetWriting();
    alice_ = AddUser("alice", true);
    AddUser("bob", false);
    WriteBytes(library() + "/song.mp3", "song");
  }
  void TearDown() override { index::SetProcessIndex(nullptr); }

  static int AddUser(const std::string &name, bool personal) {
    accounts::Account account;
    account.name = name;
    account.personal_library = personal;
    const int id = accounts::AddAccount(account);
    fs::create_directories(Personal(name) + "/playlists");
    fs::create_directories(Preferences(name) + "/playlists");
    return id;
  }
  static std::string Personal(const std::string &name) {
    return std::string(system::kHomes) + "/" + name + "/music";
  }
  static std::string Preferences(const std::string &name) {
    return std::string(system::kPreferences) + "/" + name;
  }
  static std::string Shared(const std::string &name) { return library() + "/playlists/" + name; }

  /// The path of a playlist row of the shared library, and its id text.
  static std::string AddShared(const std::string &name, const std::string &content) {
    WriteBytes(Shared(name), content);
    auto record = MakeRecord(Shared(name), name);
    EXPECT_EQ(VEXOPlaylistDBSave(&record), 0);
    return IdOf("shared", 0, Shared(name));
  }
  static std::string IdOf(const char *library, int user, const std::string &path) {
    char id[32] = "";
    return VEXOPlaylistIDGet(library, user, path.c_str(), id, sizeof id) == 0 ? id : "";
  }

  static Texts ReadPaths(const std::string &path) {
    int count = 0;
    const host::SongList songs(ParsePlayListByFieldGivenPath(path.c_str(), &count, 0, 0, "*", 7));
    Texts paths = PathsOf(songs.get());
    EXPECT_EQ(paths.size(), static_cast<std::size_t>(count));
    return paths;
  }
  /// The names in a folder.
  static std::set<std::string> Names(const std::string &folder) {
    std::set<std::string> names;
    for (const auto &entry : fs::directory_iterator(folder)) {
      names.insert(entry.path().filename().string());
    }
    return names;
  }

  int alice_ = 0;
};

} // namespace vexo::playlists
