#pragma once
// The suite of the media index, the same for every engine.

#include "index/media_index.h"
#include "index/sqlite_index.h"
#include "support/postgres_server.h"
#include "support/temporary_folder.h"
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <string>

namespace vexo::index {

struct Engine {
  std::string name;
  /// Opens an index that lies in the folder, the same one at each call.
  std::function<std::unique_ptr<MediaIndex>(const std::string &folder)> open;
};

inline void PrintTo(const Engine &engine, std::ostream *out) { *out << engine.name; }

/// The index of the server stands for that of the folder which was opened last; it is empty when
/// another one is opened.
inline std::unique_ptr<MediaIndex> OpenPostgresOf(const std::string &folder) {
  static std::string last;
  const PostgresServer &server = PostgresServer::Get();
  if (folder != last) {
    server.Clear();
    last = folder;
  }
  return OpenPostgresIndex(server.url());
}

inline std::vector<Engine> Engines() {
  return {
      {"Sqlite", [](const std::string &folder) { return OpenSqliteIndex(folder + "/index.db"); }},
      {"Postgres", OpenPostgresOf}};
}

/// An empty index for each test.
class IndexTest : public ::testing::TestWithParam<Engine> {
protected:
  [[nodiscard]] std::unique_ptr<MediaIndex> Open() const { return GetParam().open(folder_.path()); }
  MediaIndex &index() { return *index_; }

  TemporaryFolder folder_;
  std::unique_ptr<MediaIndex> index_ = Open();
};

#define VEXO_FOR_EACH_ENGINE(suite)                                                                \
  INSTANTIATE_TEST_SUITE_P(Engines, suite, ::testing::ValuesIn(vexo::index::Engines()),            \
                           [](const auto &test) { return test.param.name; })

inline Song MakeSong(const std::string &path, int owner = 0) {
  Song song;
  song.path = path;
  song.owner = owner;
  song.title = path;
  return song;
}

inline Playlist MakePlaylist(const std::string &path, int owner = 0) {
  Playlist playlist;
  playlist.owner = owner;
  playlist.path = path;
  playlist.title = "title of " + path;
  playlist.album = "playlists";
  playlist.change_time = "Thu Jan  1 00:00:00 1970\n";
  playlist.modification_time = "Fri Jan  2 00:00:00 1970\n";
  playlist.size_bytes = 5'000'000'000;
  playlist.file = {0xFFFF'FFFF'FFFF'FFFE, 1'795'292'977'313'306'408};
  return playlist;
}

} // namespace vexo::index
