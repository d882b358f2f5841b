#include "smart/smart_songs.h"

#include "smart/rule_file.h"
#include "smart/rule_query.h"
#include "smart/smart_playlist.h"
#include <algorithm>
#include <ctime>
#include <stdexcept>

namespace vexo::smart {
namespace {

/// Positions [begin, end) of a list; no end when nothing bounds it.
struct Window {
  int64_t begin = 0;
  std::optional<int64_t> end;
};

Window MakeWindow(int offset, int limit, std::optional<int64_t> list_limit) {
  if (offset < 0 || limit < 0) {
    throw std::invalid_argument("a negative offset or limit");
  }
  Window window{offset, list_limit};
  if (limit > 0) {
    const int64_t end = int64_t{offset} + limit;
    window.end = std::min(end, list_limit.value_or(end));
  }
  return window;
}

std::vector<index::Song> FindSongs(const SmartPlaylist &playlist, const Window &window,
                                   const std::string &file) {
  if (window.end && *window.end <= window.begin) {
    return {};
  }
  const Scope scope = FindScope(file);
  index::SongQuery query = MakeQuery(playlist, std::time(nullptr));
  query.with_shared = scope.with_shared;
  query.limit = window.end.value_or(0);
  return index::ProcessIndex().QuerySongs(scope.owner, query);
}

} // namespace

std::optional<std::vector<index::Song>> ListSongs(const std::string &file, const std::string &name,
                                                  int offset, int limit) {
  const std::optional<PlaylistSource> source = FindPlaylist(file, name);
  if (!source) {
    return std::nullopt;
  }
  const Window window = MakeWindow(offset, limit, source->playlist.limit);
  std::vector<index::Song> songs = FindSongs(source->playlist, window, file);
  const auto skipped = std::min<std::size_t>(static_cast<std::size_t>(window.begin), songs.size());
  songs.erase(songs.begin(), songs.begin() + static_cast<std::ptrdiff_t>(skipped));
  return songs;
}

} // namespace vexo::smart
