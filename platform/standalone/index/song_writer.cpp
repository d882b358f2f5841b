#include "index/song_writer.h"
#include "index/rows.h"

#include "text/case_folding.h"
#include <array>
#include <tuple>

namespace vexo::index {
namespace {

/// Binds what the song's file tells, from parameter 2 on.
void BindFileStatus(Statement &statement, const Song &song) {
  int parameter = 2;
  for (const std::string *text : {&song.path, &song.title, &song.artist, &song.album, &song.genre,
                                  &song.album_artist, &song.composer, &song.comment, &song.type}) {
    statement.Bind(parameter++, *text);
  }
  statement.Bind(parameter++, song.duration_seconds);
  for (const int64_t number :
       {int64_t{song.track}, int64_t{song.disc}, int64_t{song.year}, int64_t{song.bitrate},
        int64_t{song.sample_rate}, int64_t{song.channels}, static_cast<int64_t>(song.size_bytes),
        int64_t{song.compilation}, song.time_modified, song.time_changed}) {
    statement.Bind(parameter++, number);
  }
}

/// Whether the catalog knows the song: every one of those has a folder.
bool IsCatalogued(const CatalogSong &song) { return song.groups.folder != 0; }

constexpr int kAddColumns = 30, kGroupColumns = 7;

/// The texts of a song that rules and orders look at without letter case.
constexpr std::array kFoldedColumns = {"title",    "artist",  "album", "album_artist", "genre",
                                       "composer", "comment", "path",  "type"};

std::array<const std::string *, kFoldedColumns.size()> TextsOf(const Song &song) {
  return {&song.title,    &song.artist,  &song.album, &song.album_artist, &song.genre,
          &song.composer, &song.comment, &song.path,  &song.type};
}

/// What stands in a statement for each of the folded columns, if there are such: a comma, then what
/// `write` makes of a column and its parameter, which are those behind `last`.
template <typename Write> std::string ForFolded(const Dialect &dialect, int last, Write write) {
  std::string sql;
  for (const char *column : kFoldedColumns) {
    if (dialect.keeps_folded) {
      sql += ", " + write(dialect.folded(column), "?" + std::to_string(++last));
    }
  }
  return sql;
}

std::string AddSql(const Dialect &dialect) {
  return "INSERT INTO songs(owner, path, title, artist, album, genre, album_artist, composer, "
         "comment, type, duration, track, disc, year, bitrate, sample_rate, channels, size, "
         "compilation, time_modified, time_changed, time_added, rating, play_count, album_id, "
         "artist_id, album_artist_id, genre_id, composer_id, folder_id" +
         ForFolded(dialect, kAddColumns,
                   [](const std::string &column, const std::string &) { return column; }) +
         ") VALUES(?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8, ?9, ?10, ?11, ?12, ?13, ?14, ?15, ?16, ?17, "
         "?18, ?19, ?20, ?21, ?22, ?23, ?24, ?25, ?26, ?27, ?28, ?29, ?30" +
         ForFolded(dialect, kAddColumns,
                   [](const std::string &, const std::string &value) { return value; }) +
         ")";
}

std::string UpdateSql() {
  return "UPDATE songs SET path = ?2, title = ?3, artist = ?4, album = ?5, genre = ?6, "
         "album_artist = ?7, composer = ?8, comment = ?9, type = ?10, duration = ?11, "
         "track = ?12, disc = ?13, year = ?14, bitrate = ?15, sample_rate = ?16, channels = ?17, "
         "size = ?18, compilation = ?19, time_modified = ?20, time_changed = ?21 WHERE id = ?1";
}

/// What is made of the columns that the song's file tells.
std::string UpdateMadeSql(const Dialect &dialect) {
  return "UPDATE songs SET album_id = ?2, artist_id = ?3, album_artist_id = ?4, genre_id = ?5, "
         "composer_id = ?6, folder_id = ?7" +
         ForFolded(dialect, kGroupColumns,
                   [](const std::string &column, const std::string &value) {
                     return column + " = " + value;
                   }) +
         " WHERE id = ?1";
}

} // namespace

SongWriter::SongWriter(Database &database)
    : keeps_folded_(database.dialect().keeps_folded), lists_(database),
      texts_(database.texts().MakeWriter(lists_)), catalog_(database, lists_, *texts_),
      marks_(database), read_(database, "SELECT " VEXO_SONG_COLUMNS ", " VEXO_SONG_GROUP_COLUMNS
                                        " FROM songs WHERE id = ?1"),
      remove_(database, "DELETE FROM songs WHERE id = ?1"),
      add_(database, AddSql(database.dialect())), update_(database, UpdateSql()),
      update_made_(database, UpdateMadeSql(database.dialect())) {}

/// Runs `run` with the folded texts of a song behind the other parameters.
template <typename Run>
auto SongWriter::WithFolded(Statement &statement, int last, const Song &song, Run run) {
  std::array<std::string, kFoldedColumns.size()> folded;
  for (std::size_t i = 0; keeps_folded_ && i < folded.size(); ++i) {
    folded[i] = text::FoldCase(*TextsOf(song)[i]);
    statement.Bind(++last, folded[i]);
  }
  return run(statement);
}

std::optional<CatalogSong> SongWriter::Read(int32_t id) {
  std::optional<CatalogSong> song;
  if (read_.Bind(1, int64_t{id}).Step()) {
    song = ReadCatalogSong(read_);
  }
  read_.Reset();
  return song;
}

void SongWriter::Remove(int32_t id) {
  const std::optional<CatalogSong> old = Read(id);
  if (!old) {
    return;
  }
  texts_->RemoveSong(old->song);
  if (IsCatalogued(*old)) {
    catalog_.Leave(old->song, old->groups);
  }
  remove_.Bind(1, int64_t{id}).Run();
  marks_.Lose(old->song); // nobody can change them any more
  changed_ = true;
}

void SongWriter::Write(const Song &song) {
  if (song.id == 0) {
    Add(song);
  } else if (const std::optional<CatalogSong> old = Read(song.id)) {
    Update(*old, song);
  }
}

namespace {

/// Binds the ids of groups, from `parameter` on.
void BindGroups(Statement &statement, int parameter, const SongGroups &groups) {
  for (const int32_t id : {groups.album, groups.artist, groups.album_artist, groups.genre,
                           groups.composer, groups.folder}) {
    statement.Bind(parameter++, int64_t{id});
  }
}

} // namespace

void SongWriter::Add(Song song) {
  const SongGroups groups = catalog_.Resolve(song);
  BindFileStatus(add_.Bind(1, int64_t{song.owner}), song);
  add_.Bind(22, song.time_added).Bind(23, int64_t{song.rating});
  BindGroups(add_.Bind(24, int64_t{song.play_count}), 25, groups);
  song.id = WithFolded(add_, kAddColumns, song, [](Statement &add) { return add.Insert(); });
  texts_->AddSong(song);
  catalog_.Enter(song, groups);
  marks_.Find(song);
  changed_ = true;
}

void SongWriter::Update(const CatalogSong &old, const Song &song) {
  BindFileStatus(update_.Bind(1, int64_t{song.id}), song);
  update_.Run();
  const auto texts = [](const Song &s) { return std::tie(s.title, s.artist, s.album, s.genre); };
  if (texts(old.song) != texts(song)) {
    texts_->RemoveSong(old.song);
    texts_->AddSong(song);
  }
  Song now = song;
  now.owner = old.song.owner;
  now.time_added = old.song.time_added;
  const SongGroups groups = catalog_.Resolve(now);
  WriteMade(now, groups);
  if (IsCatalogued(old)) {
    catalog_.Replace(old.song, old.groups, now, groups);
  } else {
    catalog_.Enter(now, groups);
  }
  changed_ = true;
}

void SongWriter::Complete(int32_t id) {
  if (const std::optional<CatalogSong> song = Read(id); song && !IsCatalogued(*song)) {
    const SongGroups groups = catalog_.Resolve(song->song);
    WriteMade(song->song, groups);
    catalog_.Enter(song->song, groups);
    changed_ = true;
  }
}

void SongWriter::WriteMade(const Song &song, const SongGroups &groups) {
  BindGroups(update_made_.Bind(1, int64_t{song.id}), 2, groups);
  WithFolded(update_made_, kGroupColumns, song, [](Statement &update) { update.Run(); });
}

void SongWriter::Flush() {
  if (changed_) {
    catalog_.Flush();
  }
}

} // namespace vexo::index
