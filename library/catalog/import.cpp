#include "catalog/import.h"
#include "catalog/libraries.h"
#include "catalog/list_entries.h"
#include "playlists/entry_paths.h"
#include "playlists/playlist_content.h"
#include "system/host_encoding.h"
#include <algorithm>
#include <filesystem>
#include <utility>

namespace vexo::catalog {
namespace {

/// The entries whose candidates are in memory at a time.
constexpr std::size_t kAtOnce = 500;

/// The paths that a location may be of in the index, the likeliest first: as it stands there, and
/// inside each library.
std::vector<std::string> PathsOf(const std::string &location,
                                 const std::vector<Library> &libraries) {
  std::string path = playlists::PathOfFileAddress(location).value_or(location);
  if (path.starts_with('/')) {
    return {std::move(path)};
  }
  std::replace(path.begin(), path.end(), '\\', '/');
  std::vector<std::string> paths;
  for (const Library &library : libraries) {
    if (library.folder) {
      paths.push_back((std::filesystem::path(*library.folder) / path).lexically_normal().string());
    }
  }
  return paths;
}

/// Finds what lies at the paths that the entries tell.
void MatchByPath(const accounts::Account &user, std::vector<ImportedEntry> &entries) {
  const std::vector<Library> libraries = LibrariesOf(user);
  std::vector<std::string> all_paths;
  for (ImportedEntry &entry : entries) {
    if (IsStream(entry.track.location)) {
      entry.match = Match::kStream;
    } else {
      std::ranges::move(PathsOf(entry.track.location, libraries), std::back_inserter(all_paths));
    }
  }
  const SongsAtPaths songs(user, all_paths);
  for (ImportedEntry &entry : entries) {
    if (entry.match == Match::kStream) {
      continue;
    }
    for (const std::string &path : PathsOf(entry.track.location, libraries)) {
      const index::Song *const song = songs.Find(path);
      if (song != nullptr && !entry.song) {
        entry.song = std::make_shared<const index::Song>(*song);
        entry.match = Match::kPath;
        entry.score = 1;
      }
    }
  }
}

Match HowAlike(const Likeness &likeness) {
  if (!likeness.file_name) {
    return Match::kTags;
  }
  return likeness.folders > 0 ? Match::kTail : Match::kFileName;
}

void Decide(ImportedEntry &entry, std::vector<Candidate> candidates) {
  if (!candidates.empty() && candidates.front().likeness.score >= kLikelyScore) {
    entry.song = std::move(candidates.front().song);
    entry.score = candidates.front().likeness.score;
    entry.match = HowAlike(candidates.front().likeness);
    return;
  }
  candidates.resize(std::min(candidates.size(), kImportCandidates));
  entry.candidates = std::move(candidates);
}

void MatchByLikeness(const accounts::Account &user, std::span<ImportedEntry *const> entries) {
  std::vector<WantedSong> wanted;
  wanted.reserve(entries.size());
  for (const ImportedEntry *const entry : entries) {
    const ForeignTrack &track = entry->track;
    wanted.push_back({playlists::PathOfFileAddress(track.location).value_or(track.location),
                      track.title, track.artist, track.duration_seconds});
  }
  std::vector<std::vector<Candidate>> candidates = FindCandidates(user, wanted);
  for (std::size_t i = 0; i < entries.size(); ++i) {
    Decide(*entries[i], std::move(candidates[i]));
  }
}

} // namespace

std::vector<ForeignTrack> ParseList(const std::string &bytes) {
  // Where the file would lie decides nothing: nothing is looked for beside it.
  playlists::PlaylistContent content(bytes, "/import.m3u");
  std::vector<ForeignTrack> tracks;
  tracks.reserve(content.size());
  for (std::size_t i = 0; i < content.size(); ++i) {
    const playlists::ContentEntry entry = content.At(i);
    tracks.push_back({.location = system::ReadableText(playlists::UnprotectPath(entry.path)),
                      .title = system::ReadableText(entry.title),
                      .artist = system::ReadableText(entry.artist),
                      .album = {},
                      .duration_seconds = entry.duration_seconds});
  }
  return tracks;
}

std::vector<ImportedEntry> MatchTracks(const accounts::Account &user,
                                       std::vector<ForeignTrack> tracks) {
  std::vector<ImportedEntry> entries;
  entries.reserve(tracks.size());
  for (ForeignTrack &track : tracks) {
    entries.push_back({.track = std::move(track)});
  }
  MatchByPath(user, entries);
  std::vector<ImportedEntry *> rest;
  for (ImportedEntry &entry : entries) {
    if (entry.match == Match::kNone) {
      rest.push_back(&entry);
    }
  }
  for (std::size_t begin = 0; begin < rest.size(); begin += kAtOnce) {
    const std::size_t count = std::min(kAtOnce, rest.size() - begin);
    MatchByLikeness(user, std::span(rest).subspan(begin, count));
  }
  return entries;
}

std::string LocationOfUri(std::string_view uri) {
  const std::string text(uri);
  if (playlists::IsStreamAddress(text) || playlists::PathOfFileAddress(text)) {
    return playlists::PathOfFileAddress(text).value_or(text);
  }
  // A reference is unescaped as the path of an address is, which begins with a slash.
  const bool is_absolute = text.starts_with('/');
  const std::string slash = is_absolute ? "" : "/";
  const auto path = playlists::PathOfFileAddress("file://" + slash + text);
  return path ? path->substr(slash.size()) : text;
}

} // namespace vexo::catalog
