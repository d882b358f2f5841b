#pragma once
// An index for tests of lists and groups.

#include "contract/index/engine.h"

#include <functional>
#include <vector>

namespace vexo::index {

inline Song Track(const std::string &path, const std::string &title, const std::string &artist = "",
                  const std::string &album = "", int owner = 0) {
  Song song = MakeSong(path, owner);
  song.title = title;
  song.artist = artist;
  song.album = album;
  return song;
}

class CatalogTest : public IndexTest {
protected:
  void Write(const std::vector<Song> &songs) { index().WriteSongs(songs, {}); }

  int32_t IdOf(const std::string &path) { return index().SongsByPath({path}).at(0).id; }

  void Rewrite(const std::string &path, const std::function<void(Song &)> &change) {
    Song song = index().SongsByPath({path}).at(0);
    change(song);
    Write({song});
  }

  void Remove(const std::vector<std::string> &paths) {
    std::vector<int32_t> ids;
    for (const Song &song : index().SongsByPath(paths)) {
      ids.push_back(song.id);
    }
    index().WriteSongs({}, ids);
  }

  void RemoveAll() {
    std::vector<int32_t> ids;
    for (const SongFile &song : index().SongFiles(0)) {
      ids.push_back(song.id);
    }
    index().WriteSongs({}, ids);
  }

  std::vector<Group> All(GroupKind kind) {
    GroupList list;
    list.kind = kind;
    list.sort = {GroupField::kName};
    return index().ListGroups(list, {0, 1000}).items;
  }

  std::vector<std::string> Names(GroupKind kind) {
    std::vector<std::string> names;
    for (const Group &group : All(kind)) {
      names.push_back(group.name);
    }
    return names;
  }

  /// By number of songs, most first.
  std::vector<Group> Albums() {
    GroupList list;
    list.sort = {GroupField::kSongs};
    list.ascending = false;
    return index().ListGroups(list, {0, 1000}).items;
  }

  /// The only one of this title; an empty one when there is none or more.
  Group TheAlbum(const std::string &title) {
    Group found;
    int count = 0;
    for (const Group &album : All(GroupKind::kAlbum)) {
      if (album.name == title) {
        found = album;
        ++count;
      }
    }
    EXPECT_EQ(count, 1) << title;
    return count == 1 ? found : Group();
  }

  std::vector<std::string> Paths(const SongList &list, const Range &range = {0, 1000}) {
    std::vector<std::string> paths;
    for (const CatalogSong &song : index().ListSongs(list, range).items) {
      paths.push_back(song.song.path);
    }
    return paths;
  }
};

} // namespace vexo::index
