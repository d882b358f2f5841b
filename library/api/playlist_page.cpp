// What a playlist holds.
#include "api/playlist_export.h"
#include "api/playlist_json.h"
#include "api/resources.h"
#include "api/song_json.h"
#include "catalog/list_entries.h"
#include "catalog/smart_lists.h"
#include "playlists/playlist_text.h"
#include "playlists/version.h"
#include "web/request.h"

namespace vexo::api {
namespace {

using catalog::ListEntry;
using catalog::Playlist;
using catalog::PlaylistKind;

constexpr std::string_view kJson = "json";

/// As many as a list may have.
constexpr auto kMostExported = static_cast<int64_t>(playlists::kMaxEntries);

Problem TooManyToExport() {
  return {409, "The playlist has more than " + std::to_string(kMostExported) + " songs.",
          "playlist"};
}

/// An entry with what it stands for; null: no song.
Json::Value EntryWithSong(const ListEntry &entry, const index::Song *song) {
  Json::Value json = EntryJson(entry);
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
    Json::Value &item = items.append(EntryWithSong(entry, song));
    if (song == nullptr && !entry.is_stream && !list.NamesFile(entry)) {
      item["missing"] = true;
    }
  }
  return items;
}

/// What is asked for of a playlist.
struct Demand {
  const accounts::Account &user;
  const Playlist &playlist;
  int owner; ///< of the songs of the random playlist
  Page page;
  std::string_view format;

  [[nodiscard]] bool IsExport() const { return format != kJson; }
};

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

Answer ExportOf(const Demand &demand, const std::vector<index::Song> &songs) {
  const catalog::Exporter exporter(demand.user);
  std::vector<catalog::ExportedSong> exported;
  exported.reserve(songs.size());
  for (const index::Song &song : songs) {
    exported.push_back(exporter.Of(song));
  }
  return ExportAnswer(exported, demand.playlist.name, demand.format);
}

Answer ExportOf(const Demand &demand, catalog::List &list) {
  const std::vector<ListEntry> entries = list.Entries(0, list.size());
  const catalog::SongsAtPaths songs(demand.user, entries);
  const catalog::Exporter exporter(demand.user);
  std::vector<catalog::ExportedSong> exported;
  exported.reserve(entries.size());
  for (const ListEntry &entry : entries) {
    const index::Song *const song = entry.is_stream ? nullptr : songs.Find(entry.path);
    exported.push_back(song != nullptr ? exporter.Of(*song) : exporter.Of(entry));
  }
  return ExportAnswer(exported, demand.playlist.name, demand.format);
}

/// Of a page of the list: besides its version it tells the state of the index, whose songs the page
/// shows. An edit takes the version alone of it.
std::string ListETag(const std::string &version) {
  return MakeETag(version + "-" + std::to_string(index::ProcessIndex().Revision()));
}

/// 304, without a look into the file, where its version was kept and the client has that.
std::optional<Answer> NotModifiedAsKnown(const Demand &demand) {
  if (!web::Variable("HTTP_IF_NONE_MATCH")) {
    return std::nullopt;
  }
  const std::optional<catalog::ListFacts> known =
      catalog::FactsReader(demand.user).Known(demand.playlist);
  return known ? NotModified(ListETag(known->version)) : std::nullopt;
}

/// The list as the list of playlists tells it: without count and length where somebody has changed
/// the file since this version of it was read.
Json::Value ListOfVersion(const Demand &demand, const std::string &version) {
  const auto facts = catalog::FactsReader(demand.user).Of(demand.playlist);
  if (facts && facts->version == version) {
    return ListJson(demand.playlist, facts);
  }
  Json::Value json = PlaylistJson(demand.playlist);
  json["version"] = version;
  return json;
}

Answer ListPage(const Demand &demand) {
  std::optional<Answer> as_known = NotModifiedAsKnown(demand);
  if (as_known && !demand.IsExport()) {
    return *std::move(as_known);
  }
  std::optional<std::string> bytes = catalog::ReadList(demand.playlist);
  if (!bytes) {
    return ProblemAnswer({404, "The playlist's file is missing.", "playlist"});
  }
  const std::string version = playlists::ContentVersion(*bytes);
  const std::string etag = ListETag(version);
  std::optional<Answer> not_modified = NotModified(etag);
  if (not_modified && !demand.IsExport()) {
    return *std::move(not_modified);
  }
  catalog::List list(*std::move(bytes), demand.playlist.path);
  if (demand.IsExport()) {
    return ExportOf(demand, list);
  }
  Json::Value document = ListOf(static_cast<int64_t>(list.size()), demand.page,
                                EntriesJson(demand.user, list, demand.page));
  document["playlist"] = ListOfVersion(demand, version);
  return JsonAnswer(document, etag);
}

/// The same where the file is no list: bytes that are no text, or more of them than may be, or a
/// link that leads out of the folders of playlists.
Answer ListPageOrProblem(const Demand &demand) {
  try {
    return ListPage(demand);
  } catch (const playlists::UnreadableError &error) {
    return ProblemAnswer(UnreadablePlaylist(demand.playlist, error));
  }
}

Answer RulePage(const Demand &demand, const smart::SmartPlaylist &rule) {
  const int64_t most = demand.IsExport() ? kMostExported + 1 : demand.page.limit;
  const catalog::RuleSongs found = catalog::SongsOfRule(demand.user, demand.playlist.is_personal,
                                                        rule, demand.page.offset, most);
  if (demand.IsExport()) {
    return found.totals.songs > kMostExported ? ProblemAnswer(TooManyToExport())
                                              : ExportOf(demand, found.songs);
  }
  Json::Value document =
      ListOf(found.totals.songs, demand.page, SongEntries(found.songs, demand.page.offset));
  document["playlist"] = PlaylistJson(demand.playlist);
  AddSeconds(document["playlist"], "duration", found.totals.duration_seconds);
  return AnswerByContent(document);
}

Answer SmartPage(const Demand &demand) {
  const std::optional<std::string> block = catalog::ReadBlock(demand.playlist);
  if (!block) {
    return ProblemAnswer(NoSuchPlaylist());
  }
  const auto parsed = catalog::ParseRule(catalog::RuleText(*block));
  if (const auto *error = std::get_if<catalog::RuleError>(&parsed)) {
    return ProblemAnswer(RuleProblem(409, *error));
  }
  return RulePage(demand, std::get<smart::SmartPlaylist>(parsed));
}

Answer RandomPage(const Demand &demand) {
  std::vector<index::Song> songs =
      index::ProcessIndex().RandomSongs(demand.owner, catalog::kRandomSongs);
  if (demand.IsExport()) {
    return ExportOf(demand, songs);
  }
  const auto total = static_cast<int64_t>(songs.size());
  songs.erase(songs.begin(), songs.begin() + std::min(demand.page.offset, total));
  songs.resize(std::min(static_cast<std::size_t>(demand.page.limit), songs.size()));
  Json::Value document = ListOf(total, demand.page, SongEntries(songs, demand.page.offset));
  document["playlist"] = PlaylistJson(demand.playlist);
  return JsonAnswer(document);
}

Answer AnyPage(const Demand &demand) {
  switch (demand.playlist.kind) {
  case PlaylistKind::kList:
    return ListPageOrProblem(demand);
  case PlaylistKind::kSmart:
    return SmartPage(demand);
  case PlaylistKind::kRandom:
    break;
  }
  return RandomPage(demand);
}

/// Refuses parameters that say nothing of what else is asked for.
void RefuseIdle(Query &query, bool is_random, bool is_export) {
  if (!is_random && query.Text("library")) {
    query.Refuse("library", "Only the random playlist has a library to choose.");
  }
  for (const std::string_view name : {"offset", "limit"}) {
    if (is_export && query.Text(name)) {
      query.Refuse(name, "A playlist is exported whole.");
    }
  }
}

} // namespace

Answer PlaylistPage(Request &request) {
  Query &query = request.query;
  const Page page = ReadPage(query);
  const std::string_view format = query.Choice("format", {kJson, VEXO_EXPORT_FORMATS});
  const std::optional<Playlist> playlist =
      catalog::FindPlaylist(request.User(), request.variables[0]);
  if (!playlist) {
    return ProblemAnswer(query.problem().value_or(NoSuchPlaylist()));
  }
  const bool is_random = playlist->kind == PlaylistKind::kRandom;
  RefuseIdle(query, is_random, format != kJson);
  const int owner = is_random ? OwnerOf(request.User(), query) : 0;
  return query.problem() ? ProblemAnswer(*query.problem())
                         : AnyPage({request.User(), *playlist, owner, page, format});
}

} // namespace vexo::api
