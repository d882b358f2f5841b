#include "playlists/entries.h"
#include "index/media_index.h"
#include "playlists/entry_paths.h"
#include "playlists/m3u.h"
#include "playlists/pls.h"
#include "playlists/readable_text.h"
#include "system/boundary.h"
#include <algorithm>
#include <stdexcept>

namespace vexo::playlists {

namespace {

template <typename Item>
std::pair<std::size_t, std::size_t> Bounds(const std::vector<Item> &items, Stretch stretch) {
  const std::size_t first = std::min(stretch.offset, items.size());
  const std::size_t left = items.size() - first;
  return {first, first + (stretch.limit == 0 ? left : std::min(stretch.limit, left))};
}

bool IsPlsFile(std::string_view content, const std::string &path) {
  return IsPls(content) || path.ends_with(".pls");
}

std::vector<Entry> ReadPls(std::string_view content, EntryPaths &paths, Stretch stretch) {
  const std::vector<PlsEntry> parsed = ParsePls(content);
  std::vector<Entry> entries;
  const auto [first, last] = Bounds(parsed, stretch);
  for (std::size_t i = first; i < last; ++i) {
    entries.push_back({paths.Resolve(parsed[i].path), "", ReadableText(parsed[i].title),
                       parsed[i].duration_seconds});
  }
  return entries;
}

std::vector<Entry> ReadM3u(std::string_view content, EntryPaths &paths, Stretch stretch) {
  const std::vector<M3uEntry> parsed = ParseM3u(content);
  std::vector<Entry> entries;
  const auto [first, last] = Bounds(parsed, stretch);
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

template <std::size_t Size> void SetTextIfEmpty(char (&field)[Size], std::string_view text) {
  if (field[0] == '\0') {
    index::CopyText(field, text);
  }
}

} // namespace

Stretch Stretch::Of(int offset, int limit) {
  if (offset < 0 || limit < 0) {
    throw std::invalid_argument("a negative offset or limit");
  }
  return {static_cast<std::size_t>(offset), static_cast<std::size_t>(limit)};
}

std::vector<Entry> ReadEntries(std::string_view content, const std::string &path, Stretch stretch) {
  EntryPaths paths(path);
  return IsPlsFile(content, path) ? ReadPls(content, paths, stretch)
                                  : ReadM3u(content, paths, stretch);
}

EntryRecords::EntryRecords(std::vector<Entry> entries)
    : entries_(std::move(entries)), songs_(KnownSongs(FilePaths(entries_))) {}

void EntryRecords::Fill(__tag_VEXO_MEDIA_INFO &record, std::size_t position) const {
  const Entry &entry = entries_[position];
  const auto song = std::lower_bound(songs_.begin(), songs_.end(), entry.path, IsBefore);
  if (song != songs_.end() && song->path == entry.path) {
    index::FillRecord(record, *song);
  } else if (entry.path.size() < sizeof record.path) {
    index::CopyText(record.path, entry.path);
  }
  SetTextIfEmpty(record.title, entry.title);
  SetTextIfEmpty(record.artist, entry.artist);
  if (record.duration <= 0) {
    record.duration = entry.duration_seconds;
  }
}

index::SongList EntryRecords::ToList() const {
  return index::MakeSongList(size(), [this](__tag_VEXO_MEDIA_INFO &record, std::size_t position) {
    Fill(record, position);
  });
}

} // namespace vexo::playlists
