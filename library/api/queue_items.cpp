#include "api/queue_items.h"
#include "catalog/libraries.h"
#include "catalog/list_entries.h"
#include "index/media_index.h"
#include "playlists/playlist_text.h"
#include "text/utf8.h"
#include <algorithm>
#include <unordered_map>

namespace vexo::api {
namespace {

using catalog::QueueEntry;

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
    return song != songs.end() ? EntryOf(song->second)
                               : QueueEntry{.path = {}, .artist = {}, .title = *title};
  }
  return item["missing"] == true ? QueueEntry{.path = {}, .artist = {}, .title = *title}
                                 : StreamEntry(item["stream"], *title);
}

} // namespace

std::variant<std::vector<QueueEntry>, Problem> ReadQueueItems(const accounts::Account &user,
                                                              const Json::Value &items) {
  if (!items.isArray() || items.size() > playlists::kMaxEntries) {
    return Problem{400, "The items are no array of at most 100000.", "items"};
  }
  const auto songs = SongsOf(user, items);
  std::vector<QueueEntry> entries;
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

} // namespace vexo::api
