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

Problem BadItem(Json::ArrayIndex position, const std::string &why) {
  return {400, "Item " + std::to_string(position) + ": " + why, "items"};
}

bool IsOneLine(const std::string &text) {
  return text::IsUtf8(text) && std::none_of(text.begin(), text.end(), [](char c) {
           return static_cast<unsigned char>(c) < ' ' || c == 0x7F;
         });
}

/// The text of a stream's member; empty without one, nothing for what is none.
std::optional<std::string> OptionalText(const Json::Value &item, const char *name) {
  const Json::Value &value = item[name];
  if (value.isNull()) {
    return "";
  }
  if (!value.isString() || value.asString().size() > kLongestText || !IsOneLine(value.asString())) {
    return std::nullopt;
  }
  return value.asString();
}

/// The entry of an item that is a stream's address; nothing for what is wrong.
std::optional<QueueEntry> StreamOf(const Json::Value &item) {
  const Json::Value &address = item["stream"];
  const auto title = OptionalText(item, "title");
  if (!address.isString() || !title || item["song"] != Json::Value()) {
    return std::nullopt;
  }
  const std::string text = address.asString();
  if (text.size() > playlists::kMaxPathBytes || !IsOneLine(text) || !catalog::IsStream(text)) {
    return std::nullopt;
  }
  return QueueEntry{.path = text, .artist = {}, .title = *title};
}

/// The id of an item that is a song; 0 for another item.
int32_t SongIdOf(const Json::Value &item) {
  const Json::Value &id = item["song"];
  return item.size() == 1 && id.isInt() && id.asInt() > 0 ? id.asInt() : 0;
}

/// The songs that a queue names, which the user sees, by id.
std::unordered_map<int32_t, index::Song> SongsOf(const accounts::Account &user,
                                                 const Json::Value &items) {
  std::vector<int32_t> ids;
  for (const Json::Value &item : items) {
    if (item.isObject() && SongIdOf(item) != 0) {
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

std::variant<Entries, Problem> EntriesOf(const accounts::Account &user, const Json::Value &items) {
  if (!items.isArray() || items.size() > playlists::kMaxEntries) {
    return Problem{400, "The items are no array of at most 100000.", "items"};
  }
  const auto songs = SongsOf(user, items);
  Entries entries;
  for (const Json::Value &item : items) {
    const Json::ArrayIndex position = static_cast<Json::ArrayIndex>(entries.size());
    const int32_t id = item.isObject() ? SongIdOf(item) : 0;
    std::optional<QueueEntry> entry;
    if (const auto song = songs.find(id); song != songs.end()) {
      entry = EntryOf(song->second);
    } else if (id != 0) {
      return BadItem(position, "there is no song " + std::to_string(id) + ".");
    } else if (item.isObject()) {
      entry = StreamOf(item);
    }
    if (!entry) {
      return BadItem(position, "it is neither a song nor a stream.");
    }
    if (entry->path.find_first_of("\r\n") != std::string::npos) {
      return BadItem(position, "the song's file has a line break in its name.");
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
