#include "index/rows.h"

namespace vexo::index {
namespace {

template <typename Record, Record Read(const Statement &)>
std::vector<Record> ReadAll(Statement &statement) {
  std::vector<Record> records;
  while (statement.Step()) {
    records.push_back(Read(statement));
  }
  return records;
}

/// The columns from track to size, the first of which is `column`. Gives the one behind them.
template <typename AnySong> int ReadNumbers(const Statement &row, int column, AnySong &song) {
  row.Read(column++, song.track);
  row.Read(column++, song.disc);
  row.Read(column++, song.year);
  song.duration_seconds = row.Double(column++);
  row.Read(column++, song.bitrate);
  row.Read(column++, song.sample_rate);
  row.Read(column++, song.channels);
  row.Read(column++, song.size_bytes);
  return column;
}

} // namespace

Song ReadSong(const Statement &row) {
  Song song;
  int column = 0;
  row.Read(column++, song.id);
  row.Read(column++, song.owner);
  for (std::string *text : {&song.path, &song.title, &song.artist, &song.album, &song.genre}) {
    *text = row.Text(column++);
  }
  column = ReadNumbers(row, column, song);
  for (std::string *text : {&song.album_artist, &song.composer, &song.comment, &song.type}) {
    *text = row.Text(column++);
  }
  row.Read(column++, song.rating);
  row.Read(column++, song.play_count);
  row.Read(column++, song.compilation);
  row.Read(column++, song.time_added);
  row.Read(column++, song.time_modified);
  row.Read(column++, song.time_changed);
  return song;
}

SongView ViewSong(const Statement &row) {
  SongView song;
  int column = 0;
  row.Read(column++, song.id);
  for (std::string_view *text : {&song.path, &song.title, &song.artist, &song.album, &song.genre}) {
    *text = row.View(column++);
  }
  ReadNumbers(row, column, song);
  return song;
}

CatalogSong ReadCatalogSong(const Statement &row) {
  constexpr int kSongColumns = 25;
  CatalogSong song{ReadSong(row), {}};
  SongGroups &groups = song.groups;
  int column = kSongColumns;
  for (int32_t *id : {&groups.album, &groups.artist, &groups.album_artist, &groups.genre,
                      &groups.composer, &groups.folder}) {
    row.Read(column++, *id);
  }
  return song;
}

Playlist ReadPlaylist(const Statement &row) {
  Playlist playlist;
  row.Read(0, playlist.id);
  row.Read(1, playlist.owner);
  playlist.path = row.Text(2);
  playlist.title = row.Text(3);
  playlist.album = row.Text(4);
  playlist.change_time = row.Text(5);
  playlist.modification_time = row.Text(6);
  row.Read(7, playlist.size_bytes);
  row.Read(8, playlist.file.inode);
  row.Read(9, playlist.file.born_ns);
  return playlist;
}

std::vector<Song> ReadSongs(Statement &statement) { return ReadAll<Song, ReadSong>(statement); }

std::vector<Playlist> ReadPlaylists(Statement &statement) {
  return ReadAll<Playlist, ReadPlaylist>(statement);
}

} // namespace vexo::index
