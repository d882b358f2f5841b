#include "index/records.h"

#include <cstdlib>
#include <cstring>
#include <new>

namespace vexo::index {

namespace {

bool IsInsideCharacter(char byte) { return (static_cast<unsigned char>(byte) & 0xC0) == 0x80; }

template <std::size_t Size> std::string Text(const char (&field)[Size]) {
  return std::string(field, strnlen(field, Size));
}

void FillPath(__tag_VEXO_MEDIA_INFO &record, const std::string &path) {
  if (path.size() < sizeof record.path) {
    CopyText(record.path, path);
  }
}

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
  FillPath(record, song.path);
  record.track = song.track;
  record.disc = song.disc;
  record.year = song.year;
  CopyText(record.title, song.title);
  CopyText(record.album, song.album);
  CopyText(record.artist, song.artist);
  CopyText(record.genre, song.genre);
  record.duration = static_cast<float>(song.duration_seconds);
  record.bitrate = song.bitrate;
  record.sampleRate = song.sample_rate;
  record.channels = song.channels;
  record.size = song.size_bytes;
}

void FillRecord(__tag_VEXO_MEDIA_INFO &record, const Playlist &playlist) {
  record.id = playlist.id;
  FillPath(record, playlist.path);
  CopyText(record.title, playlist.title);
  CopyText(record.album, playlist.album);
  CopyText(record.changeTime, playlist.change_time);
  CopyText(record.modificationTime, playlist.modification_time);
  record.size = playlist.size_bytes;
}

Playlist PlaylistOf(const __tag_VEXO_MEDIA_INFO &record, int owner) {
  return {.id = record.id,
          .owner = owner,
          .path = Text(record.path),
          .title = Text(record.title),
          .album = Text(record.album),
          .change_time = Text(record.changeTime),
          .modification_time = Text(record.modificationTime),
          .size_bytes = record.size};
}

SongList MakeSongList(const std::vector<Song> &songs) {
  return MakeSongList(songs.size(), [&](__tag_VEXO_MEDIA_INFO &record, std::size_t position) {
    FillRecord(record, songs[position]);
  });
}

SongList
MakeSongList(std::size_t count,
             const std::function<void(__tag_VEXO_MEDIA_INFO &record, std::size_t position)> &fill) {
  SongList list;
  VEXOPlaylistRec *last = nullptr;
  for (std::size_t position = 0; position < count; ++position) {
    auto *node = static_cast<VEXOPlaylistRec *>(std::calloc(1, sizeof(VEXOPlaylistRec)));
    if (node == nullptr) {
      throw std::bad_alloc();
    }
    if (last == nullptr) {
      list.reset(node);
    } else {
      last->next = node;
    }
    last = node;
    fill(node->info, position);
  }
  return list;
}

} // namespace vexo::index
