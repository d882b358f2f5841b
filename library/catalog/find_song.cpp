#include "catalog/find_song.h"

#include "catalog/libraries.h"

namespace vexo::catalog {

std::optional<index::Song> FindSong(const accounts::Account &user, int32_t id) {
  for (const Library &library : LibrariesOf(user)) {
    std::vector<index::Song> songs = index::ProcessIndex().SongsById(library.owner, {id});
    if (!songs.empty()) {
      return std::move(songs.front());
    }
  }
  return std::nullopt;
}

} // namespace vexo::catalog
