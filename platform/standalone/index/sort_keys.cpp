#include "index/sort_keys.h"
#include "index/song_identity.h"

#include "text/search_folding.h"
#include <algorithm>
#include <cmath>

namespace vexo::index {
namespace {

/// More than tells names apart; a key of several is still short beside a page of a database.
constexpr std::size_t kLongestText = 200;

/// Folded texts hold no NUL, so a text sorts before every longer one that begins with it.
void AppendText(std::string &key, std::string_view text) {
  key.append(text::FoldForSearch(text), 0, kLongestText);
  key += '\0';
}

/// In so many bytes; what does not fit in them counts as the nearest that does.
void AppendNumber(std::string &key, int64_t number, int bytes) {
  const int64_t most = (int64_t{1} << (8 * bytes)) - 1;
  const auto value = static_cast<uint64_t>(std::clamp<int64_t>(number, 0, most));
  for (int shift = 8 * (bytes - 1); shift >= 0; shift -= 8) {
    key += static_cast<char>(value >> shift & 0xff);
  }
}

constexpr int kCountBytes = 4, kYearBytes = 2, kTimeBytes = 5, kSizeBytes = 6;

void AppendNumberField(std::string &key, const Song &song, Field field) {
  switch (field) {
  case Field::kYear:
    return AppendNumber(key, song.year, kYearBytes);
  case Field::kTrack:
    return AppendNumber(key, song.track, 2);
  case Field::kDisc:
    return AppendNumber(key, DiscOf(song.disc, song.path), 2);
  case Field::kBitrate:
    return AppendNumber(key, song.bitrate, kCountBytes);
  case Field::kSampleRate:
    return AppendNumber(key, song.sample_rate, kCountBytes);
  case Field::kChannels:
    return AppendNumber(key, song.channels, kCountBytes);
  case Field::kSongLength:
    return AppendNumber(key, std::llround(song.duration_seconds * 1000), kTimeBytes);
  case Field::kFileSize:
    return AppendNumber(key, static_cast<int64_t>(song.size_bytes), kSizeBytes);
  case Field::kRating:
    return AppendNumber(key, song.rating, kCountBytes);
  case Field::kPlayCount:
    return AppendNumber(key, song.play_count, kCountBytes);
  case Field::kCompilation:
    return AppendNumber(key, song.compilation ? 1 : 0, 1);
  case Field::kTimeModified:
    return AppendNumber(key, song.time_modified, kTimeBytes);
  default:
    return AppendNumber(key, song.time_added, kTimeBytes);
  }
}

void AppendField(std::string &key, const Song &song, const SongGroups &groups, Field field) {
  switch (field) {
  case Field::kTitle:
    return AppendText(key, song.title);
  case Field::kArtist:
    return AppendText(key, song.artist);
  case Field::kAlbum:
    AppendText(key, song.album);
    return AppendNumber(key, groups.album, kCountBytes);
  case Field::kAlbumArtist:
    return AppendText(key, song.album_artist.empty() ? song.artist : song.album_artist);
  case Field::kGenre:
    return AppendText(key, song.genre);
  case Field::kComposer:
    return AppendText(key, song.composer);
  case Field::kComment:
    return AppendText(key, song.comment);
  case Field::kPath:
    return AppendText(key, song.path);
  case Field::kType:
    return AppendText(key, song.type);
  default:
    return AppendNumberField(key, song, field);
  }
}

void AppendField(std::string &key, const Group &group, GroupField field) {
  switch (field) {
  case GroupField::kName:
    return AppendText(key, group.name);
  case GroupField::kArtist:
    return AppendText(key, group.artist);
  case GroupField::kYear:
    return AppendNumber(key, group.year_from, kYearBytes);
  case GroupField::kTimeAdded:
    return AppendNumber(key, group.time_added, kTimeBytes);
  case GroupField::kSongs:
    return AppendNumber(key, group.songs, kCountBytes);
  case GroupField::kAlbums:
    return AppendNumber(key, group.albums, kCountBytes);
  case GroupField::kDuration:
    return AppendNumber(key, group.duration_ms, kSizeBytes);
  }
}

} // namespace

std::string SongSortKey(const Song &song, const SongGroups &groups, std::span<const Field> fields) {
  std::string key;
  for (const Field field : fields) {
    AppendField(key, song, groups, field);
  }
  return key;
}

std::string GroupSortKey(const Group &group, std::span<const GroupField> fields) {
  std::string key;
  for (const GroupField field : fields) {
    AppendField(key, group, field);
  }
  return key;
}

std::string NameKey(std::string_view name) {
  std::string key;
  AppendText(key, name);
  return key;
}

std::string_view FileStem(std::string_view path) {
  const std::string_view name = path.substr(path.find_last_of("/\\") + 1);
  const std::size_t dot = name.rfind('.');
  return dot == 0 ? name : name.substr(0, dot);
}

std::string YearKey(int64_t year) {
  std::string key;
  AppendNumber(key, year, kYearBytes);
  return key;
}

} // namespace vexo::index
