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

/// The entries that are in memory at a time with their candidates.
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

/// Finds what is like the entries for which nothing was found as yet.
void MatchByLikeness(const accounts::Account &user, std::vector<ImportedEntry> &entries) {
  std::vector<ImportedEntry *> rest;
  std::vector<WantedSong> wanted;
  for (ImportedEntry &entry : entries) {
    if (entry.match == Match::kNone) {
      const ForeignTrack &track = entry.track;
      rest.push_back(&entry);
      wanted.push_back({playlists::PathOfFileAddress(track.location).value_or(track.location),
                        track.title, track.artist, track.duration_seconds});
    }
  }
  std::vector<std::vector<Candidate>> candidates = FindCandidates(user, wanted);
  for (std::size_t i = 0; i < rest.size(); ++i) {
    Decide(*rest[i], std::move(candidates[i]));
  }
}

std::vector<ImportedEntry> MatchSome(const accounts::Account &user,
                                     std::span<ForeignTrack> tracks) {
  std::vector<ImportedEntry> entries;
  entries.reserve(tracks.size());
  for (ForeignTrack &track : tracks) {
    entries.push_back({.track = std::move(track)});
  }
  MatchByPath(user, entries);
  MatchByLikeness(user, entries);
  return entries;
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

void MatchTracks(const accounts::Account &user, std::vector<ForeignTrack> tracks,
                 const std::function<void(const ImportedEntry &)> &visit) {
  for (std::size_t begin = 0; begin < tracks.size(); begin += kAtOnce) {
    const std::size_t count = std::min(kAtOnce, tracks.size() - begin);
    std::ranges::for_each(MatchSome(user, std::span(tracks).subspan(begin, count)), visit);
  }
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
