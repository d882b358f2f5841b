#include "model/song_json.h"

#include "model/field_text.h"
#include "model/log_line.h"
#include "vexo/media_index.h"
#include <cstdlib>
#include <cstring>
#include <limits>
#include <optional>
#include <string>
#include <unordered_map>

namespace {

/// Reads the members of one song object; remembers when one that must be a text is not.
class SongReader {
public:
  explicit SongReader(const Json::Value &song) : song_(song) {}

  [[nodiscard]] bool failed() const { return failed_; }

  /// The text of a member, `missing` when it is null or not there.
  const char *Text(const char *key, const char *missing) {
    const Json::Value &member = song_[key];
    if (member.isNull()) {
      return missing;
    }
    if (!member.isString()) {
      failed_ = true;
      return missing;
    }
    return member.asCString();
  }

  /// A whole number, 0 without one.
  [[nodiscard]] int Integer(const char *key) const {
    const Json::Value &member = song_[key];
    return member.isInt() ? member.asInt() : 0;
  }

  /// A property of the sound, 1 where it is not known: the players divide by it.
  [[nodiscard]] uint32_t Property(const char *key) const {
    const Json::Value &member = song_[key];
    if (!member.isNumeric()) {
      return 1;
    }
    const double number = member.asDouble();
    return number >= 0 && number <= std::numeric_limits<uint32_t>::max() ? member.asUInt() : 1;
  }

private:
  const Json::Value &song_;
  bool failed_ = false;
};

/// The song id in an item id such as "musiclib_music@123" or "playing@7"; 0 for any other text.
int32_t SongIdOf(const char *item_id) {
  const char *at = std::strrchr(item_id, '@');
  const bool names_song =
      std::strstr(item_id, "musiclib") != nullptr || std::strstr(item_id, "playing") != nullptr;
  if (at == nullptr || !names_song) {
    return 0;
  }
  using Limits = std::numeric_limits<int32_t>;
  const long id = std::strtol(at + 1, nullptr, 10);
  return id < Limits::min() || id > Limits::max() ? 0 : static_cast<int32_t>(id);
}

/// The text of a song id; empty, which is no id, for what is not a text.
const char *IdText(const Json::Value &element) {
  return element.isString() ? element.asCString() : "";
}

/// The ids that are given as texts, comma-separated; nothing when there is none.
std::optional<std::string> JoinedIds(const Json::Value &elements) {
  std::optional<std::string> joined;
  for (const Json::Value &element : elements) {
    if (!element.isString()) {
      continue;
    }
    if (joined) {
      *joined += ",";
    } else {
      joined.emplace();
    }
    *joined += element.asCString();
  }
  return joined;
}

/// Where to begin looking for a song in a host list. A walk from the head for each of thousands of
/// ids would take their number squared.
class SongIndex {
public:
  explicit SongIndex(const VEXOPlaylistRec *list) {
    for (; list != nullptr; list = list->next) {
      nodes_.emplace(list->info.id, list);
      last_ = list;
    }
  }

  /// The node with `id`; without one the last node, where a walk ends at once. Null: an empty list.
  [[nodiscard]] const VEXOPlaylistRec *Near(long id) const {
    const auto found = nodes_.find(id);
    return found == nodes_.end() ? last_ : found->second;
  }

private:
  std::unordered_map<long, const VEXOPlaylistRec *> nodes_;
  const VEXOPlaylistRec *last_ = nullptr;
};

bool FillNode(VEXOPlaylistRec *node, const Json::Value &element, const SongIndex &songs) {
  if (element.isObject()) {
    if (SongFromJson(&node->info, element) == nullptr) {
      LOG_LINE("Bad parameter.");
      return false;
    }
    return true;
  }
  const long id = std::strtol(IdText(element), nullptr, 10);
  FindRecordById(songs.Near(id), &node->info, id);
  return true;
}

} // namespace

__tag_VEXO_MEDIA_INFO *SongFromJson(__tag_VEXO_MEDIA_INFO *record, const Json::Value &song) {
  if (record == nullptr) {
    return nullptr;
  }
  *record = {};
  if (!song.isObject()) {
    return nullptr;
  }
  SongReader reader(song);
  SetField(record->path, reader.Text("res", ""));
  record->id = SongIdOf(reader.Text("item_id", ""));
  SetField(record->album, reader.Text("album", ""));
  SetField(record->artist, reader.Text("artist", ""));
  SetField(record->genre, reader.Text("genre", ""));
  SetField(record->title, reader.Text("title", ""));
  record->duration = static_cast<float>(reader.Integer("duration"));
  record->track = reader.Integer("track");
  record->disc = reader.Integer("disc");
  record->year = reader.Integer("year");
  record->bitrate = reader.Property("bitrate");
  record->channels = reader.Property("channels");
  record->sampleRate = reader.Property("sample");
  record->size = std::strtoull(reader.Text("size", "1"), nullptr, 10);
  SetField(record->albumArtUrl, reader.Text("albumArtURL", ""));
  return reader.failed() ? nullptr : record;
}

bool FindRecordById(const VEXOPlaylistRec *list, __tag_VEXO_MEDIA_INFO *destination, long id) {
  if (list == nullptr || destination == nullptr || id == 0) {
    LOG_LINE("Bad parameters");
    return false;
  }
  for (; list != nullptr; list = list->next) {
    if (list->info.id == id) {
      *destination = list->info;
      break;
    }
  }
  return true;
}

bool GetSongsByIdList(const Json::Value &idInfoList, VEXOPlaylistRec **head) {
  if (head == nullptr) {
    LOG_LINE("Bad parameter.");
    return false;
  }
  // The host's list is left to the end of the process, which is near: releasing it node by node
  // would only cost time.
  VEXOPlaylistRec *music_list = nullptr;
  const std::optional<std::string> ids = JoinedIds(idInfoList);
  if (ids && VEXOMusicListGetByID("shared", 0, &music_list, ids->c_str()) != 0) {
    LOG_LINE("Failed to get music list from database.");
    return false;
  }
  const SongIndex songs(music_list);
  for (const Json::Value &element : idInfoList) {
    auto *node = static_cast<VEXOPlaylistRec *>(std::calloc(1, sizeof(VEXOPlaylistRec)));
    if (node == nullptr) {
      LOG_LINE("Failed to calloc.");
      return false;
    }
    *head = node;
    head = &node->next;
    if (!FillNode(node, element, songs)) {
      return false;
    }
  }
  return true;
}
