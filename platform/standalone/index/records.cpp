#include "index/records.h"
#include <array>
#include <cstring>
#include <ctime>

namespace vexo::index {

namespace {

void CopyTime(char (&field)[32], int64_t seconds) {
  std::array<char, 32> text{};
  const auto time = static_cast<std::time_t>(seconds);
  if (seconds != 0 && ctime_r(&time, text.data()) != nullptr) {
    CopyText(field, text.data());
  }
}

bool IsInsideCharacter(char byte) { return (static_cast<unsigned char>(byte) & 0xC0) == 0x80; }

} // namespace

void CopyText(char *field, std::size_t size, std::string_view text) {
  std::size_t length = text.size();
  if (length >= size) {
    length = size - 1;
    while (length > 0 && IsInsideCharacter(text[length])) {
      --length;
    }
  }
  std::memcpy(field, text.data(), length);
  field[length] = '\0';
}

void FillRecord(__tag_VEXO_MEDIA_INFO &record, const Song &song) {
  record.id = song.id;
  CopyText(record.path, song.path);
  record.track = song.track;
  record.disc = song.disc;
  record.year = song.year;
  CopyText(record.title, song.title);
  CopyText(record.album, song.album);
  CopyText(record.artist, song.artist);
  CopyText(record.genre, song.genre);
  CopyTime(record.changeTime, song.time_changed);
  CopyTime(record.modificationTime, song.time_modified);
  record.duration = static_cast<float>(song.duration_seconds);
  record.bitrate = song.bitrate;
  record.sampleRate = song.sample_rate;
  record.channels = song.channels;
  record.size = song.size_bytes;
}

void FillRecord(__tag_VEXO_MEDIA_INFO &record, const Playlist &playlist) {
  record.id = playlist.id;
  CopyText(record.path, playlist.path);
  CopyText(record.title, playlist.title);
  CopyText(record.album, playlist.album);
  CopyText(record.changeTime, playlist.change_time);
  CopyText(record.modificationTime, playlist.modification_time);
  record.size = playlist.size_bytes;
}

Playlist PlaylistOf(const __tag_VEXO_MEDIA_INFO &record, int owner) {
  return {.id = record.id,
          .owner = owner,
          .path = record.path,
          .title = record.title,
          .album = record.album,
          .change_time = record.changeTime,
          .modification_time = record.modificationTime,
          .size_bytes = record.size};
}

} // namespace vexo::index
