#include "model/song_json.h"

#include "model/field_text.h"
#include "model/log_line.h"
#include "model/parse_json.h"
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

/// The number of a song id; 0, which is no id, for what is not a text.
long IdOf(const Json::Value &element) {
  return element.isString() ? std::strtol(element.asCString(), nullptr, 10) : 0;
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

/// The songs that the host has found. Hashed by id: a linear search per id would be quadratic. A
/// record is large, so the last use of a song takes its node, and only earlier ones copy it.
class HostSongs {
public:
  HostSongs(VEXOPlaylistRec *list, const Json::Value &elements) {
    for (; list != nullptr; list = list->next) {
      songs_.emplace(list->info.id, Song{list});
    }
    for (const Json::Value &element : elements) {
      const auto found = songs_.find(IdOf(element));
      if (found != songs_.end()) {
        ++found->second.uses_left;
      }
    }
  }

  /// Counts one use of the song. Its node, without successor, when that was the last; else null.
  VEXOPlaylistRec *TakeLast(long id) {
    const auto found = songs_.find(id);
    if (found == songs_.end() || --found->second.uses_left > 0) {
      return nullptr;
    }
    found->second.node->next = nullptr;
    return found->second.node;
  }

  /// A list that begins with the song; without it one of a record with no id. Null: an empty list.
  [[nodiscard]] const VEXOPlaylistRec *Near(long id) const {
    const auto found = songs_.find(id);
    if (found != songs_.end()) {
      return found->second.node;
    }
    return songs_.empty() ? nullptr : &none_;
  }

private:
  struct Song {
    VEXOPlaylistRec *node;
    int uses_left = 0;
  };
  std::unordered_map<long, Song> songs_;
  VEXOPlaylistRec none_{};
};

bool FillNode(VEXOPlaylistRec *node, const Json::Value &element, const HostSongs &songs) {
  if (element.isObject()) {
    if (SongFromJson(&node->info, element) == nullptr) {
      LOG_LINE("Bad parameter.");
      return false;
    }
    return true;
  }
  const long id = IdOf(element);
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

bool GetSongsByIdList(const Json::Value &id_info_list, VEXOPlaylistRec **head) {
  if (head == nullptr) {
    LOG_LINE("Bad parameter.");
    return false;
  }
  // What is not moved out of the host's list is left to the end of the process, which is near.
  VEXOPlaylistRec *music_list = nullptr;
  const std::optional<std::string> ids = JoinedIds(id_info_list);
  if (ids && VEXOMusicListGetByID("shared", 0, &music_list, ids->c_str()) != 0) {
    LOG_LINE("Failed to get music list from database.");
    return false;
  }
  HostSongs songs(music_list, id_info_list);
  SongListBuilder list(head);
  for (const Json::Value &element : id_info_list) {
    VEXOPlaylistRec *node = songs.TakeLast(IdOf(element));
    if (node != nullptr) {
      list.Append(node);
      continue;
    }
    node = list.AppendNew();
    if (node == nullptr || !FillNode(node, element, songs)) {
      return false;
    }
  }
  return true;
}

bool GetSongsByText(const char *text, SongList &songs, int *count) {
  Json::Value elements;
  if (!ParseJson(text, elements)) {
    LOG_LINE("Failed to parse json.");
    return false;
  }
  if (!elements.isArray()) {
    LOG_LINE("id_info_list is not a Json array.");
    return false;
  }
  VEXOPlaylistRec *head = nullptr;
  const bool built = GetSongsByIdList(elements, &head);
  songs.reset(head);
  *count = static_cast<int>(elements.size());
  return built;
}
