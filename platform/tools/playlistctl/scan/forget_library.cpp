#include "playlistctl/scan/forget_library.h"

#include <algorithm>

namespace vexo::tools {

void ForgetSongs(index::MediaIndex &index, const std::vector<int32_t> &ids) {
  constexpr std::size_t kBatch = 1000;
  for (std::size_t begin = 0; begin < ids.size(); begin += kBatch) {
    const auto first = ids.begin() + static_cast<std::ptrdiff_t>(begin);
    const std::size_t size = std::min(kBatch, ids.size() - begin);
    index.WriteSongs({}, {first, first + static_cast<std::ptrdiff_t>(size)});
  }
}

std::size_t ForgetUser(index::MediaIndex &index, int owner) {
  std::vector<int32_t> songs;
  for (const index::SongFile &song : index.SongFiles(owner)) {
    songs.push_back(song.id);
  }
  ForgetSongs(index, songs);
  std::size_t rows = songs.size();
  for (const index::Playlist &playlist : index.AllPlaylists(owner)) {
    rows += index.RemovePlaylist(owner, playlist.id) ? 1 : 0;
  }
  return rows + static_cast<std::size_t>(index.RemoveMarks(owner));
}

} // namespace vexo::tools
