#include "smart/smart_songs.h"

#include "smart/rule_file.h"
#include "smart/rule_query.h"
#include "smart/smart_playlist.h"
#include <algorithm>
#include <ctime>
#include <stdexcept>

namespace vexo::smart {
namespace {

/// The question to the index for the part of a playlist that is asked for; nothing for no song.
std::optional<index::SongQuery> PartOf(const SmartPlaylist &playlist, const Scope &scope,
                                       int64_t offset, int64_t limit) {
  index::SongQuery query = MakeQuery(playlist, std::time(nullptr));
  query.user = scope.user;
  query.with_shared = scope.with_shared;
  query.offset = offset;
  query.limit = limit;
  if (playlist.limit) {
    const int64_t left = *playlist.limit - offset;
    if (left <= 0) {
      return std::nullopt;
    }
    query.limit = limit == 0 ? left : std::min(limit, left);
  }
  return query;
}

} // namespace

std::optional<std::vector<index::Song>> ListSongs(const std::string &file, const std::string &name,
                                                  int offset, int limit) {
  const std::optional<PlaylistSource> source = FindPlaylist(file, name);
  if (!source) {
    return std::nullopt;
  }
  if (offset < 0 || limit < 0) {
    throw std::invalid_argument("a negative offset or limit");
  }
  return ChooseSongs(source->playlist, FindScope(file), offset, limit);
}

std::vector<index::Song> ChooseSongs(const SmartPlaylist &playlist, const Scope &scope,
                                     int64_t offset, int64_t limit) {
  const std::optional<index::SongQuery> query = PartOf(playlist, scope, offset, limit);
  return query ? index::ProcessIndex().QuerySongs(scope.owner, *query) : std::vector<index::Song>();
}

index::SongTotals CountSongs(const SmartPlaylist &playlist, const Scope &scope) {
  const std::optional<index::SongQuery> query = PartOf(playlist, scope, 0, 0);
  return query ? index::ProcessIndex().CountSongs(scope.owner, *query) : index::SongTotals();
}

} // namespace vexo::smart
