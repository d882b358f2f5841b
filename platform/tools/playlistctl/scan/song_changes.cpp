#include "playlistctl/scan/song_changes.h"

#include <algorithm>
#include <set>
#include <string_view>

namespace vexo::tools {
namespace {

/// Whether the path or a folder that it lies in is one of `paths`.
bool LiesIn(const std::set<std::string, std::less<>> &paths, std::string_view path) {
  for (std::size_t end = path.size(); end != std::string_view::npos && end > 0;
       end = path.rfind('/', end - 1)) {
    if (paths.contains(path.substr(0, end))) {
      return true;
    }
  }
  return false;
}

} // namespace

SongChanges CompareSongs(const Walk &walk, const std::vector<index::SongFile> &songs) {
  const std::set<std::string, std::less<>> unreadable(walk.unreadable.begin(),
                                                      walk.unreadable.end());
  SongChanges changes;
  auto song = songs.begin();
  const auto skip_gone = [&](const std::string *until) {
    for (; song != songs.end() && (until == nullptr || song->path < *until); ++song) {
      if (!LiesIn(unreadable, song->path)) {
        changes.gone.push_back(*song);
      }
    }
  };
  for (const FoundFile &file : walk.files) {
    skip_gone(&file.path);
    if (song == songs.end() || song->path != file.path) {
      changes.to_read.push_back({file, 0});
      continue;
    }
    if (song->size_bytes == file.size_bytes && song->time_modified == file.time_modified) {
      ++changes.unchanged;
    } else {
      changes.to_read.push_back({file, song->id});
    }
    ++song;
  }
  skip_gone(nullptr);
  return changes;
}

MovedSongs::MovedSongs(std::vector<index::Song> gone) {
  for (index::Song &song : gone) {
    songs_.emplace(KeyOf(song), std::move(song));
  }
}

MovedSongs::Key MovedSongs::KeyOf(const index::Song &song) {
  return {song.size_bytes, song.duration_seconds, song.bitrate, song.sample_rate, song.channels};
}

int32_t MovedSongs::Take(const index::Song &song) {
  const auto [first, last] = songs_.equal_range(KeyOf(song));
  if (first == last) {
    return 0;
  }
  const auto likeness = [&](const index::Song &old) {
    return (FileName(old.path) == FileName(song.path) ? 2 : 0) +
           (old.time_modified == song.time_modified ? 1 : 0);
  };
  const auto best = std::max_element(first, last, [&](const auto &left, const auto &right) {
    return likeness(left.second) < likeness(right.second);
  });
  const int32_t id = best->second.id;
  songs_.erase(best);
  return id;
}

std::vector<int32_t> MovedSongs::Left() const {
  std::vector<int32_t> ids;
  for (const auto &[key, song] : songs_) {
    ids.push_back(song.id);
  }
  return ids;
}

} // namespace vexo::tools
