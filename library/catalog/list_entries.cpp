#include "catalog/list_entries.h"
#include "catalog/libraries.h"
#include "playlists/read_playlist.h"
#include "system/host_encoding.h"
#include <algorithm>
#include <utility>

namespace vexo::catalog {
namespace {

std::vector<std::string> FilePaths(const std::vector<ListEntry> &entries) {
  std::vector<std::string> paths;
  for (const ListEntry &entry : entries) {
    if (!entry.is_stream) {
      paths.push_back(entry.path);
    }
  }
  return paths;
}

/// The address of a file that is not there is a path like any other: taken for a stream, it would
/// have a player open a file that its user may not see.
std::string WithoutFileAddress(std::string path) {
  return playlists::PathOfFileAddress(path).value_or(std::move(path));
}

} // namespace

bool IsStream(std::string_view address) {
  return playlists::IsStreamAddress(address) && !playlists::IsFileAddress(address);
}

List::List(std::string bytes, const std::string &path)
    : bytes_(std::move(bytes)), content_(bytes_, path), paths_(path) {}

std::vector<ListEntry> List::Entries(std::size_t offset, std::size_t limit) {
  const std::size_t first = std::min(offset, size());
  const std::size_t last = first + std::min(limit, size() - first);
  std::vector<ListEntry> entries;
  entries.reserve(last - first);
  for (std::size_t i = first; i < last; ++i) {
    const playlists::ContentEntry told = content_.At(i);
    std::string path = WithoutFileAddress(paths_.Resolve(told.path));
    const bool is_stream = IsStream(path);
    entries.push_back({.position = i,
                       .text = system::ReadableText(told.path),
                       .path = std::move(path),
                       .artist = system::ReadableText(told.artist),
                       .title = system::ReadableText(told.title),
                       .duration_seconds = told.duration_seconds,
                       .is_stream = is_stream});
  }
  return entries;
}

bool List::NamesFile(const ListEntry &entry) {
  return paths_.NamesFile(content_.At(entry.position).path);
}

std::optional<std::string> ReadList(const Playlist &playlist) {
  return playlist.file.is_there ? playlists::ReadPlaylist(playlist.path) : std::nullopt;
}

SongsAtPaths::SongsAtPaths(const accounts::Account &user, const std::vector<std::string> &paths) {
  if (paths.empty()) {
    return;
  }
  for (index::Song &song : index::ProcessIndex().SongsByPath(paths)) {
    if (!IsVisible(user, song.owner)) {
      continue;
    }
    const auto [at, is_first] = songs_.try_emplace(song.path, song);
    if (!is_first && song.owner < at->second.owner) {
      at->second = std::move(song);
    }
  }
}

SongsAtPaths::SongsAtPaths(const accounts::Account &user, const std::vector<ListEntry> &entries)
    : SongsAtPaths(user, FilePaths(entries)) {}

const index::Song *SongsAtPaths::Find(const std::string &path) const {
  const auto found = songs_.find(path);
  return found == songs_.end() ? nullptr : &found->second;
}

} // namespace vexo::catalog
