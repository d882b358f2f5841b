// What a playlist holds.
#include "api/playlist_json.h"
#include "api/resources.h"
#include "api/song_json.h"
#include "catalog/list_entries.h"
#include "catalog/smart_lists.h"
#include "playlists/playlist_text.h"
#include "playlists/version.h"

namespace vexo::api {
namespace {

using catalog::ListEntry;
using catalog::Playlist;
using catalog::PlaylistKind;

Json::Value EntryJson(const ListEntry &entry, const index::Song *song) {
  Json::Value json(Json::objectValue);
  json["position"] = Json::UInt64{entry.position};
  json["path"] = entry.text;
  AddText(json, "title", entry.title);
  AddText(json, "artist", entry.artist);
  AddSeconds(json, "duration", entry.duration_seconds);
  if (song != nullptr) {
    json["song"] = SongJson(*song);
  } else if (entry.is_stream) {
    json["stream"] = entry.path;
  }
  return json;
}

Json::Value EntriesJson(const accounts::Account &user, catalog::List &list, const Page &page) {
  const std::vector<ListEntry> entries =
      list.Entries(static_cast<std::size_t>(page.offset), static_cast<std::size_t>(page.limit));
  const catalog::SongsAtPaths songs(user, entries);
  Json::Value items(Json::arrayValue);
  for (const ListEntry &entry : entries) {
    const index::Song *const song = entry.is_stream ? nullptr : songs.Find(entry.path);
    Json::Value &item = items.append(EntryJson(entry, song));
    if (song == nullptr && !entry.is_stream && !list.NamesFile(entry)) {
      item["missing"] = true;
    }
  }
  return items;
}

/// A page of songs that no file holds, in the form of a list's entries.
Json::Value SongEntries(const std::vector<index::Song> &songs, int64_t offset) {
  Json::Value items(Json::arrayValue);
  for (const index::Song &song : songs) {
    Json::Value &item = items.append(Json::Value(Json::objectValue));
    item["position"] = Json::Int64{offset++};
    item["song"] = SongJson(song);
  }
  return items;
}

Json::Value PageOf(const Playlist &playlist, int64_t total, const Page &page, Json::Value items) {
  Json::Value document = ListOf(total, page, std::move(items));
  document["playlist"] = PlaylistJson(playlist);
  return document;
}

Answer ListPage(const accounts::Account &user, const Playlist &playlist, const Page &page) {
  std::optional<std::string> bytes = catalog::ReadList(playlist);
  if (!bytes) {
    return ProblemAnswer({404, "The playlist's file is missing.", "playlist"});
  }
  const std::string version = playlists::ContentVersion(*bytes);
  if (std::optional<Answer> answer = NotModified(MakeETag(version))) {
    return *std::move(answer);
  }
  catalog::List list(*std::move(bytes), playlist.path);
  Json::Value document =
      PageOf(playlist, static_cast<int64_t>(list.size()), page, EntriesJson(user, list, page));
  document["playlist"]["version"] = version;
  return JsonAnswer(document, MakeETag(version));
}

/// The same where the file is no list: bytes that are no text, or more of them than may be, or a
/// link that leads out of the folders of playlists.
Answer ListPageOrProblem(const accounts::Account &user, const Playlist &playlist,
                         const Page &page) {
  try {
    return ListPage(user, playlist, page);
  } catch (const playlists::UnreadableError &error) {
    return ProblemAnswer(UnreadablePlaylist(playlist, error));
  }
}

Answer SmartPage(const accounts::Account &user, const Playlist &playlist, const Page &page) {
  const std::optional<std::string> block = catalog::ReadBlock(playlist);
  if (!block) {
    return ProblemAnswer(NoSuchPlaylist());
  }
  const auto parsed = catalog::ParseRule(catalog::RuleText(*block));
  if (const auto *error = std::get_if<catalog::RuleError>(&parsed)) {
    return ProblemAnswer(RuleProblem(409, *error));
  }
  const catalog::RuleSongs found = catalog::SongsOfRule(
      user, playlist.is_personal, std::get<smart::SmartPlaylist>(parsed), page.offset, page.limit);
  Json::Value document =
      PageOf(playlist, found.totals.songs, page, SongEntries(found.songs, page.offset));
  AddSeconds(document["playlist"], "duration", found.totals.duration_seconds);
  return AnswerByContent(document);
}

Answer RandomPage(const Playlist &playlist, int owner, const Page &page) {
  std::vector<index::Song> songs = index::ProcessIndex().RandomSongs(owner, catalog::kRandomSongs);
  const auto total = static_cast<int64_t>(songs.size());
  const auto first = songs.begin() + std::min(page.offset, total);
  songs.erase(songs.begin(), first);
  songs.resize(static_cast<std::size_t>(std::min(page.limit, static_cast<int64_t>(songs.size()))));
  return JsonAnswer(PageOf(playlist, total, page, SongEntries(songs, page.offset)));
}

Answer AnyPage(Request &request, const Playlist &playlist, int owner, const Page &page) {
  switch (playlist.kind) {
  case PlaylistKind::kList:
    return ListPageOrProblem(request.User(), playlist, page);
  case PlaylistKind::kSmart:
    return SmartPage(request.User(), playlist, page);
  case PlaylistKind::kRandom:
    break;
  }
  return RandomPage(playlist, owner, page);
}

} // namespace

Answer PlaylistPage(Request &request) {
  const Page page = ReadPage(request.query);
  const std::optional<Playlist> playlist =
      catalog::FindPlaylist(request.User(), request.variables[0]);
  const bool is_random = playlist && playlist->kind == PlaylistKind::kRandom;
  if (playlist && !is_random && request.query.Text("library")) {
    request.query.Refuse("library", "Only the random playlist has a library to choose.");
  }
  const int owner = is_random ? OwnerOf(request.User(), request.query) : 0;
  if (request.query.problem()) {
    return ProblemAnswer(*request.query.problem());
  }
  return playlist ? AnyPage(request, *playlist, owner, page) : ProblemAnswer(NoSuchPlaylist());
}

} // namespace vexo::api
