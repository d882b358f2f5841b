#include "playlists/entries.h"
#include "index/media_index.h"
#include "playlists/entry_paths.h"
#include "playlists/playlist_content.h"
#include "system/host_encoding.h"
#include "system/log.h"
#include <algorithm>
#include <stdexcept>

namespace vexo::playlists {

namespace {

bool IsBefore(const index::Song &song, const std::string &path) { return song.path < path; }

index::Song CopyOf(const index::SongView &song) {
  index::Song copy;
  copy.id = song.id;
  copy.path = song.path;
  copy.title = song.title;
  copy.artist = song.artist;
  copy.album = song.album;
  copy.genre = song.genre;
  copy.track = song.track;
  copy.disc = song.disc;
  copy.year = song.year;
  copy.duration_seconds = song.duration_seconds;
  copy.bitrate = song.bitrate;
  copy.sample_rate = song.sample_rate;
  copy.channels = song.channels;
  copy.size_bytes = song.size_bytes;
  return copy;
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
    songs.reserve(paths.size());
    index::ProcessIndex().VisitSongsByPath(
        paths, [&](const index::SongView &song) { songs.push_back(CopyOf(song)); });
  } catch (const std::exception &error) {
    system::LogFailure("songs of a playlist", error.what());
    songs.clear();
  }
  return songs;
}

} // namespace

Range Range::Of(int offset, int limit) {
  if (offset < 0 || limit < 0) {
    throw std::invalid_argument("a negative offset or limit");
  }
  return {static_cast<std::size_t>(offset), static_cast<std::size_t>(limit)};
}

std::vector<Entry> ReadEntries(std::string_view bytes, const std::string &path, Range range) {
  PlaylistContent content(bytes, path);
  EntryPaths paths(path);
  const std::size_t first = std::min(range.offset, content.size());
  const std::size_t left = content.size() - first;
  const std::size_t count = range.limit == 0 ? left : std::min(range.limit, left);
  std::vector<Entry> entries;
  entries.reserve(count);
  for (std::size_t i = first; i < first + count; ++i) {
    const ContentEntry entry = content.At(i);
    entries.push_back({paths.Resolve(entry.path), system::ReadableText(entry.artist),
                       system::ReadableText(entry.title), entry.duration_seconds});
  }
  return entries;
}

EntrySongs::EntrySongs(std::vector<Entry> entries)
    : entries_(std::move(entries)), songs_(KnownSongs(FilePaths(entries_))) {}

const index::Song *EntrySongs::song(std::size_t position) const {
  const std::string &path = entries_[position].path;
  const auto song = std::lower_bound(songs_.begin(), songs_.end(), path, IsBefore);
  return song != songs_.end() && song->path == path ? &*song : nullptr;
}

} // namespace vexo::playlists
