#include "playlists/entries.h"
#include "index/media_index.h"
#include "playlists/entry_paths.h"
#include "playlists/m3u.h"
#include "playlists/pls.h"
#include "playlists/readable_text.h"
#include "system/log.h"
#include <algorithm>
#include <stdexcept>

namespace vexo::playlists {

namespace {

template <typename Item>
std::pair<std::size_t, std::size_t> Bounds(const std::vector<Item> &items, Range range) {
  const std::size_t first = std::min(range.offset, items.size());
  const std::size_t left = items.size() - first;
  return {first, first + (range.limit == 0 ? left : std::min(range.limit, left))};
}

bool IsPlsFile(std::string_view content, const std::string &path) {
  return IsPls(content) || path.ends_with(".pls");
}

std::vector<Entry> ReadPls(std::string_view content, EntryPaths &paths, Range range) {
  const std::vector<PlsEntry> parsed = ParsePls(content);
  std::vector<Entry> entries;
  const auto [first, last] = Bounds(parsed, range);
  for (std::size_t i = first; i < last; ++i) {
    entries.push_back({paths.Resolve(parsed[i].path), "", ReadableText(parsed[i].title),
                       parsed[i].duration_seconds});
  }
  return entries;
}

std::vector<Entry> ReadM3u(std::string_view content, EntryPaths &paths, Range range) {
  const std::vector<M3uEntry> parsed = ParseM3u(content);
  std::vector<Entry> entries;
  const auto [first, last] = Bounds(parsed, range);
  entries.reserve(last - first);
  for (std::size_t i = first; i < last; ++i) {
    const M3uInfo info = ParseM3uInfo(parsed[i].info);
    entries.push_back({paths.Resolve(parsed[i].path), ReadableText(info.artist),
                       ReadableText(info.title), info.duration_seconds});
  }
  return entries;
}

bool IsBefore(const index::Song &song, const std::string &path) { return song.path < path; }

/// By path; of two libraries that hold the same one, the shared comes first.
bool InOrder(const index::Song &a, const index::Song &b) {
  return a.path != b.path ? a.path < b.path : a.owner < b.owner;
}

std::vector<std::string> FilePaths(const std::vector<Entry> &entries) {
  std::vector<std::string> paths;
  for (const Entry &entry : entries) {
    if (!IsStreamAddress(entry.path)) {
      paths.push_back(entry.path);
    }
  }
  return paths;
}

std::vector<index::Song> KnownSongs(const std::vector<std::string> &paths) {
  std::vector<index::Song> songs;
  if (paths.empty()) {
    return songs;
  }
  try {
    songs = index::ProcessIndex().SongsByPath(paths);
  } catch (const std::exception &error) {
    system::LogFailure("songs of a playlist", error.what());
  }
  std::sort(songs.begin(), songs.end(), InOrder);
  return songs;
}

} // namespace

Range Range::Of(int offset, int limit) {
  if (offset < 0 || limit < 0) {
    throw std::invalid_argument("a negative offset or limit");
  }
  return {static_cast<std::size_t>(offset), static_cast<std::size_t>(limit)};
}

std::vector<Entry> ReadEntries(std::string_view content, const std::string &path, Range range) {
  EntryPaths paths(path);
  return IsPlsFile(content, path) ? ReadPls(content, paths, range) : ReadM3u(content, paths, range);
}

EntrySongs::EntrySongs(std::vector<Entry> entries)
    : entries_(std::move(entries)), songs_(KnownSongs(FilePaths(entries_))) {}

const index::Song *EntrySongs::song(std::size_t position) const {
  const std::string &path = entries_[position].path;
  const auto song = std::lower_bound(songs_.begin(), songs_.end(), path, IsBefore);
  return song != songs_.end() && song->path == path ? &*song : nullptr;
}

} // namespace vexo::playlists
