// What a list has lost, and what may stand in its place.
#include "catalog/missing.h"
#include "api/candidate_json.h"
#include "api/playlist_json.h"
#include "api/resources.h"
#include "api/song_json.h"
#include "catalog/candidates.h"
#include "playlists/playlist_text.h"
#include "playlists/version.h"
#include <algorithm>

namespace vexo::api {
namespace {

using catalog::ListEntry;
using catalog::Playlist;

/// The stretch of the entries that a page shows.
std::vector<ListEntry> PartOf(const std::vector<ListEntry> &entries, const Page &page) {
  const auto size = static_cast<int64_t>(entries.size());
  const int64_t first = std::min(page.offset, size);
  const int64_t last = first + std::min(page.limit, size - first);
  return {entries.begin() + first, entries.begin() + last};
}

std::vector<catalog::WantedSong> WantedSongs(const std::vector<ListEntry> &entries) {
  std::vector<catalog::WantedSong> wanted;
  wanted.reserve(entries.size());
  for (const ListEntry &entry : entries) {
    wanted.push_back({entry.path, entry.title, entry.artist, entry.duration_seconds});
  }
  return wanted;
}

Json::Value Items(const accounts::Account &user, const std::vector<ListEntry> &entries) {
  const auto candidates = catalog::FindCandidates(user, WantedSongs(entries));
  Json::Value items(Json::arrayValue);
  for (std::size_t i = 0; i < entries.size(); ++i) {
    Json::Value &item = items.append(EntryJson(entries[i]));
    item["candidates"] = CandidatesJson(candidates[i], catalog::kMostCandidates);
  }
  return items;
}

Answer MissingOf(const accounts::Account &user, const Playlist &playlist, const Page &page) {
  std::optional<std::string> bytes = catalog::ReadList(playlist);
  if (!bytes) {
    return ProblemAnswer({404, "The playlist's file is missing.", "playlist"});
  }
  const std::string version = playlists::ContentVersion(*bytes);
  catalog::List list(*std::move(bytes), playlist.path);
  const std::vector<ListEntry> missing = catalog::MissingEntries(user, list);
  Json::Value document =
      ListOf(static_cast<int64_t>(missing.size()), page, Items(user, PartOf(missing, page)));
  document["playlist"] = PlaylistJson(playlist);
  document["playlist"]["version"] = version;
  return JsonAnswer(document);
}

} // namespace

Answer MissingSongs(Request &request) {
  const Page page = ReadPage(request.query);
  if (request.query.problem()) {
    return ProblemAnswer(*request.query.problem());
  }
  const std::optional<Playlist> playlist =
      catalog::FindPlaylist(request.User(), request.variables[0]);
  if (!playlist || playlist->kind != catalog::PlaylistKind::kList) {
    return ProblemAnswer(playlist ? NotFound("Only lists in files can miss songs.")
                                  : NoSuchPlaylist());
  }
  try {
    return MissingOf(request.User(), *playlist, page);
  } catch (const playlists::UnreadableError &error) {
    return ProblemAnswer(UnreadablePlaylist(*playlist, error));
  }
}

} // namespace vexo::api
