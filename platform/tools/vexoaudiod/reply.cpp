#include "vexoaudiod/reply.h"
#include "system/player_commands.h"
#include "text/utf8.h"
#include <algorithm>
#include <json/json.h>
#include <span>
#include <string_view>

namespace vexo::audiod {

namespace {

/// A song record holds texts up to this length.
constexpr std::size_t kTextBytes = 254;

using Entries = std::span<const QueueEntry>;

std::string Print(const Json::Value &value) {
  Json::StreamWriterBuilder writer;
  writer["indentation"] = "";
  writer["emitUTF8"] = true;
  return Json::writeString(writer, value);
}

/// The first characters of `text` that fit `bytes`, all of them well-formed.
std::string Cut(const std::string &text, std::size_t bytes) {
  std::string cut = text::ToValidUtf8(text);
  if (cut.size() > bytes) {
    while (bytes > 0 && (static_cast<unsigned char>(cut[bytes]) & 0xC0U) == 0x80U) {
      --bytes;
    }
    cut.resize(bytes);
  }
  return cut;
}

void SetText(Json::Value &object, const char *key, const std::string &text, std::size_t bytes) {
  const std::string cut = Cut(text, bytes);
  if (!cut.empty()) {
    object[key] = cut;
  }
}

template <typename Number> void SetNumber(Json::Value &object, const char *key, Number number) {
  if (number > 0) {
    object[key] = number;
  }
}

Json::Value EntryJson(const QueueEntry &entry, std::size_t text_bytes) {
  Json::Value object(Json::objectValue);
  object["res"] = entry.res;
  if (entry.song_id > 0) {
    object["item_id"] = "musiclib_music@" + std::to_string(entry.song_id);
  }
  SetText(object, "title", entry.title, text_bytes);
  SetText(object, "artist", entry.artist, text_bytes);
  SetText(object, "album", entry.album, text_bytes);
  SetText(object, "genre", entry.genre, text_bytes);
  SetNumber(object, "track", entry.track);
  SetNumber(object, "disc", entry.disc);
  SetNumber(object, "year", entry.year);
  SetNumber(object, "duration", entry.duration_seconds);
  SetNumber(object, "sample", entry.sample_rate);
  SetNumber(object, "channels", entry.channels);
  SetNumber(object, "bitrate", entry.bitrate);
  if (entry.size_bytes > 0) {
    object["size"] = std::to_string(entry.size_bytes);
  }
  return object;
}

std::string PagePrint(Entries entries, unsigned total, std::size_t text_bytes) {
  Json::Value page(Json::objectValue);
  page["total"] = total;
  Json::Value &uris = page["uris"] = Json::Value(Json::arrayValue);
  for (const QueueEntry &entry : entries) {
    uris.append(EntryJson(entry, text_bytes));
  }
  return Print(page);
}

} // namespace

std::string ErrorReply(const std::string &reason) {
  Json::Value reply(Json::objectValue);
  reply["error"] = Cut(reason, kTextBytes);
  return Print(reply);
}

std::string QueueErrorReply(const std::string &reason) {
  Json::Value reply(Json::objectValue);
  reply["error"] = Cut(reason, kTextBytes);
  reply["total"] = -1;
  reply["uris"] = Json::Value(Json::arrayValue);
  return Print(reply);
}

std::string SelectedReply(int player) {
  Json::Value reply(Json::objectValue);
  reply["player"] = player;
  return Print(reply);
}

std::string RefusedReply(const std::string &reason) {
  Json::Value reply(Json::objectValue);
  reply["refused"] = Cut(reason, kTextBytes);
  return Print(reply);
}

std::string StatusReply(const PlayerStatus &status) {
  Json::Value reply(Json::objectValue);
  reply["state"] = status.state;
  reply["queue_length"] = status.queue_length;
  reply["elapsed"] = status.elapsed_milliseconds / 1000.0;
  reply["duration"] = status.duration_milliseconds / 1000.0;
  reply["repeat"] = status.repeat;
  reply["random"] = status.random;
  if (status.volume_percent >= 0) {
    reply["volume"] = status.volume_percent;
  }
  if (!status.song.empty()) {
    reply["position"] = status.position;
    reply["song"] = EntryJson(status.song.front(), kTextBytes);
  }
  return Print(reply);
}

std::string LoadReply(const LoadResult &result) {
  Json::Value reply(Json::objectValue);
  reply["added"] = Json::UInt64{result.added};
  reply["refused"] = Json::UInt64{result.refused};
  return Print(reply);
}

std::string QueueReply(const std::vector<QueueEntry> &entries, unsigned total) {
  std::size_t count = entries.size();
  std::string page = PagePrint(entries, total, kTextBytes);
  while (page.size() >= system::kPlayerReplyLimit && count > kEntriesAlways) {
    count = std::max(kEntriesAlways, count - (count + 3) / 4);
    page = PagePrint(Entries(entries).first(count), total, kTextBytes);
  }
  for (const std::size_t text_bytes : {std::size_t{64}, std::size_t{0}}) {
    if (page.size() < system::kPlayerReplyLimit) {
      return page;
    }
    page = PagePrint(Entries(entries).first(count), total, text_bytes);
  }
  return page.size() < system::kPlayerReplyLimit
             ? page
             : QueueErrorReply("the paths are too long for one page");
}

} // namespace vexo::audiod
