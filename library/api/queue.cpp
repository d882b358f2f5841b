// The user's own queue.
#include "catalog/queue.h"
#include "api/if_match.h"
#include "api/resources.h"
#include "api/song_json.h"
#include "catalog/libraries.h"
#include "playlists/playlist_text.h"
#include "text/utf8.h"
#include <algorithm>
#include <array>
#include <ctime>
#include <unordered_map>

namespace vexo::api {
namespace {

using catalog::QueueEntry;
using catalog::QueuePlace;
using Entries = std::vector<QueueEntry>;

constexpr std::size_t kLargestQueueBody = std::size_t{16} << 20U;
constexpr double kMostElapsed = 1e7; ///< seconds
constexpr std::size_t kLongestText = 1000;

bool IsOneLine(const std::string &text) {
  return text::IsUtf8(text) && std::none_of(text.begin(), text.end(), [](char c) {
           return static_cast<unsigned char>(c) < ' ' || c == 0x7F;
         });
}

/// The title of an item; empty without one, nothing for what is none.
std::optional<std::string> TitleOf(const Json::Value &item) {
  const Json::Value &value = item["title"];
  if (value.isNull()) {
    return "";
  }
  if (!value.isString() || value.asString().size() > kLongestText || !IsOneLine(value.asString())) {
    return std::nullopt;
  }
  return value.asString();
}

/// An entry that is no song any more. The file of a queue needs a path: nothing lies at this one.
QueueEntry MissingEntry(const std::string &title) {
  return {.path = "/missing", .artist = {}, .title = title};
}

/// The entry of a stream's address; nothing for what is none.
std::optional<QueueEntry> StreamEntry(const Json::Value &address, const std::string &title) {
  const std::string text = address.isString() ? address.asString() : "";
  if (text.size() > playlists::kMaxPathBytes || !IsOneLine(text) || !catalog::IsStream(text)) {
    return std::nullopt;
  }
  return QueueEntry{.path = text, .artist = {}, .title = title};
}

/// The id of an item that is a song; 0 for another item.
int32_t SongIdOf(const Json::Value &item) {
  const Json::Value &id = item.isObject() ? item["song"] : Json::Value::nullSingleton();
  return id.isInt() && id.asInt() > 0 ? id.asInt() : 0;
}

/// The songs that a queue names, which the user sees, by id.
std::unordered_map<int32_t, index::Song> SongsOf(const accounts::Account &user,
                                                 const Json::Value &items) {
  std::vector<int32_t> ids;
  for (const Json::Value &item : items) {
    if (SongIdOf(item) != 0) {
      ids.push_back(SongIdOf(item));
    }
  }
  std::unordered_map<int32_t, index::Song> songs;
  for (const catalog::Library &library : catalog::LibrariesOf(user)) {
    for (index::Song &song : index::ProcessIndex().SongsById(library.owner, ids)) {
      songs.emplace(song.id, std::move(song));
    }
  }
  return songs;
}

QueueEntry EntryOf(const index::Song &song) {
  return {song.path, song.artist, song.title, song.duration_seconds};
}

/// The entry of an item, which is one of a song, a stream and what is missing, perhaps with a
/// title; nothing for what is wrong. A song that the user does not see is missing: it may have gone
/// since the client heard of it.
std::optional<QueueEntry> EntryOf(const Json::Value &item,
                                  const std::unordered_map<int32_t, index::Song> &songs) {
  const std::optional<std::string> title = item.isObject() ? TitleOf(item) : std::nullopt;
  if (!title || item.size() != (item.isMember("title") ? 2U : 1U)) {
    return std::nullopt;
  }
  if (const int32_t id = SongIdOf(item); id != 0) {
    const auto song = songs.find(id);
    return song != songs.end() ? EntryOf(song->second) : MissingEntry(*title);
  }
  return item["missing"] == true ? MissingEntry(*title) : StreamEntry(item["stream"], *title);
}

std::variant<Entries, Problem> EntriesOf(const accounts::Account &user, const Json::Value &items) {
  if (!items.isArray() || items.size() > playlists::kMaxEntries) {
    return Problem{400, "The items are no array of at most 100000.", "items"};
  }
  const auto songs = SongsOf(user, items);
  Entries entries;
  for (const Json::Value &item : items) {
    std::optional<QueueEntry> entry = EntryOf(item, songs);
    if (!entry) {
      return Problem{400,
                     "Item " + std::to_string(entries.size()) +
                         " is neither a song nor a stream nor missing.",
                     "items"};
    }
    entries.push_back(*std::move(entry));
  }
  return entries;
}

std::variant<QueuePlace, Problem> ReadPlace(const Json::Value &body) {
  const Json::Value position = body.get("position", 0);
  const Json::Value elapsed = body.get("elapsed", 0);
  if (!position.isUInt() || position.asUInt() > playlists::kMaxEntries) {
    return Problem{400, "The position is no whole number from 0 to 100000.", "position"};
  }
  if (!elapsed.isNumeric() || !(elapsed.asDouble() >= 0 && elapsed.asDouble() <= kMostElapsed)) {
    return Problem{400, "The seconds are no number from 0 to 10000000.", "elapsed"};
  }
  return QueuePlace{position.asUInt(), elapsed.asDouble(), std::time(nullptr)};
}

Json::Value QueueItems(const accounts::Account &user, const catalog::Queue &queue) {
  const catalog::SongsAtPaths songs(user, queue.entries);
  Json::Value items(Json::arrayValue);
  for (const catalog::ListEntry &entry : queue.entries) {
    const index::Song *const song = entry.is_stream ? nullptr : songs.Find(entry.path);
    Json::Value &item = items.append(Json::Value(Json::objectValue));
    item["position"] = Json::UInt64{entry.position};
    if (song != nullptr) {
      item["song"] = SongJson(*song);
      continue;
    }
    AddText(item, "title", entry.title);
    AddSeconds(item, "duration", entry.duration_seconds);
    if (entry.is_stream) {
      item["stream"] = entry.path;
    } else {
      item["missing"] = true;
    }
  }
  return items;
}

Answer QueueAnswer(const accounts::Account &user, const catalog::Queue &queue, const Page &page) {
  Json::Value document = ListOf(static_cast<int64_t>(queue.size), page, QueueItems(user, queue));
  document["position"] = Json::UInt64{queue.place.position};
  document["elapsed"] = queue.place.elapsed_seconds;
  AddNumber(document, "updated", queue.place.updated);
  return JsonAnswer(document, MakeETag(queue.version));
}

/// What an edit came to: the queue as it is now, without its entries.
Answer EditAnswer(const accounts::Account &user, catalog::QueueEdit outcome) {
  switch (outcome) {
  case catalog::QueueEdit::kStale:
    return ProblemAnswer({412, "The queue has changed since it was read.", {}});
  case catalog::QueueEdit::kBeyond:
    return ProblemAnswer({400, "The queue has no entry at this position.", "position"});
  case catalog::QueueEdit::kDone:
    break;
  }
  return QueueAnswer(user, catalog::ReadQueue(user, 0, 0), Page{});
}

} // namespace

Answer GetQueue(Request &request) {
  const Page page = ReadPage(request.query);
  if (request.query.problem()) {
    return ProblemAnswer(*request.query.problem());
  }
  const catalog::Queue queue = catalog::ReadQueue(
      request.User(), static_cast<std::size_t>(page.offset), static_cast<std::size_t>(page.limit));
  std::optional<Answer> not_modified = NotModified(MakeETag(queue.version));
  return not_modified ? *std::move(not_modified) : QueueAnswer(request.User(), queue, page);
}

Answer PutQueue(Request &request) {
  constexpr std::array<std::string_view, 3> kMembers = {"elapsed", "items", "position"};
  const auto body = ReadJsonBody(kMembers, kLargestQueueBody);
  if (const auto *problem = std::get_if<Problem>(&body)) {
    return ProblemAnswer(*problem);
  }
  const auto &document = std::get<Json::Value>(body);
  const auto place = ReadPlace(document);
  if (const auto *problem = std::get_if<Problem>(&place)) {
    return ProblemAnswer(*problem);
  }
  std::optional<Entries> entries;
  if (document.isMember("items")) {
    auto read = EntriesOf(request.User(), document["items"]);
    if (const auto *problem = std::get_if<Problem>(&read)) {
      return ProblemAnswer(*problem);
    }
    entries = std::get<Entries>(std::move(read));
  }
  return EditAnswer(request.User(), catalog::WriteQueue(request.User(), std::get<QueuePlace>(place),
                                                        entries, MeetsIfMatch));
}

} // namespace vexo::api
