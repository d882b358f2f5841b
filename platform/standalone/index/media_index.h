#pragma once
// The media index: songs, and the rows of the playlists that are kept in libraries. One interface;
// an engine (SQLite or PostgreSQL) stands behind it. An owner is 0 for the shared library, else the
// id of the user whose personal library it is. Everything throws IndexError; "not found" is an
// empty result.

#include "files/file_identity.h"
#include "index/catalog.h"
#include "index/song.h"
#include "index/song_mark.h"
#include "index/song_query.h"
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

namespace vexo::index {

class IndexError : public std::runtime_error {
public:
  using std::runtime_error::runtime_error;
};

/// What a list of songs tells of one of them. The texts belong to whoever hands the view out.
struct SongView {
  int32_t id = 0;
  std::string_view path, title, artist, album, genre;
  int32_t track = 0, disc = 0, year = 0;
  double duration_seconds = 0;
  uint32_t bitrate = 0, sample_rate = 0, channels = 0;
  uint64_t size_bytes = 0;
};

inline SongView ViewOf(const Song &song) {
  return {.id = song.id,
          .path = song.path,
          .title = song.title,
          .artist = song.artist,
          .album = song.album,
          .genre = song.genre,
          .track = song.track,
          .disc = song.disc,
          .year = song.year,
          .duration_seconds = song.duration_seconds,
          .bitrate = song.bitrate,
          .sample_rate = song.sample_rate,
          .channels = song.channels,
          .size_bytes = song.size_bytes};
}

/// A playlist's row. Times are kept as the texts that came with it; `file` is what finds the file
/// again when it was renamed without its row.
struct Playlist {
  int32_t id = 0;
  int owner = 0;
  std::string path, title, album, change_time, modification_time;
  uint64_t size_bytes = 0;
  files::FileIdentity file{};

  friend bool operator==(const Playlist &, const Playlist &) = default;
};

/// What tells whether a song's file has changed since it was read.
struct SongFile {
  int32_t id = 0;
  std::string path;
  uint64_t size_bytes = 0;
  int64_t time_modified = 0;

  friend bool operator==(const SongFile &, const SongFile &) = default;
  friend bool operator<(const SongFile &a, const SongFile &b) {
    return std::tie(a.id, a.path, a.size_bytes, a.time_modified) <
           std::tie(b.id, b.path, b.size_bytes, b.time_modified);
  }
};

/// A search as a client asks for it; codes and names as in vexo/media_index.h. A field that is none
/// of those finds nothing; a sort name that is none of the columns sorts by album.
struct Search {
  int field = 0;
  std::string keyword, sort;
  bool ascending = true;
  int64_t offset = 0, limit = 0; ///< a limit of 0 is none; a negative number throws
};

class MediaIndex {
public:
  virtual ~MediaIndex() = default;

  // Songs. Each tells of one moment, whatever the number of ids or paths.
  /// Those of `owner` that exist, each once, in no promised order.
  virtual std::vector<Song> SongsById(int owner, const std::vector<int32_t> &ids) = 0;
  /// Shows `visit` the same songs one after the other, without a copy of their texts, which are
  /// there until it returns. It must not use the index.
  virtual void VisitSongsById(int owner, const std::vector<int32_t> &ids,
                              const std::function<void(const SongView &)> &visit) = 0;
  /// Those of any owner that exist, in no promised order.
  virtual std::vector<Song> SongsByPath(const std::vector<std::string> &paths) = 0;
  /// Shows them as VisitSongsById() does, by the bytes of their paths; of two libraries with the
  /// same path, the shared one's comes first.
  virtual void VisitSongsByPath(const std::vector<std::string> &paths,
                                const std::function<void(const SongView &)> &visit) = 0;
  /// Those whose text holds the keyword, ignoring case. Songs that the named column does not tell
  /// apart come by album, disc, track and id, whatever the direction.
  virtual std::vector<Song> SearchSongs(int owner, const Search &search) = 0;
  /// A uniform random sample of `count` distinct songs (all, if fewer), in random order.
  virtual std::vector<Song> RandomSongs(int owner, int count) = 0;
  /// The songs that a query chooses, of `owner` and, if it says so, of the shared library, in its
  /// order.
  virtual std::vector<Song> QuerySongs(int owner, const SongQuery &query) = 0;
  /// What QuerySongs() would give, counted.
  virtual SongTotals CountSongs(int owner, const SongQuery &query) = 0;

  /// The songs of `owner` that have any of these names, as their titles or as those of their files
  /// (without folders and extension); names are the same when searches take them for the same. Of
  /// more than `most_of_each` with one name, so many of them. Each once, in no promised order.
  enum class SongName { kTitle, kFile };
  virtual std::vector<Song> SongsNamed(int owner, SongName kind,
                                       const std::vector<std::string> &names, int most_of_each) = 0;

  // Songs and their groups, to page through. What a page costs does not grow with the offset, and
  // hardly with the number of songs, as long as there are no words and no groups to choose by and
  // the index keeps the order (it does for title, artist, album, genre, year, time added and length
  // of songs, with album, disc and track behind artist and album; for name, artist, year and time
  // added of albums; for the names of the others). Otherwise it grows with what is chosen, at most
  // to a look at each of the owner's songs.
  virtual Page<CatalogSong> ListSongs(const SongList &list, const Range &range) = 0;
  virtual Page<Group> ListGroups(const GroupList &list, const Range &range) = 0;
  virtual std::optional<CatalogSong> FindSong(int owner, int32_t id) = 0;
  virtual std::optional<Group> FindGroup(int owner, GroupKind kind, int32_t id) = 0;
  /// The id of the group that `name` names, in any letter case; 0: there is none. Not for albums.
  virtual int32_t GroupNamed(int owner, GroupKind kind, const std::string &name) = 0;
  /// A number that grows with each change of songs.
  virtual int64_t Revision() = 0;

  // Marks. A user's marks stay with their songs through moves, and return with a song that comes
  // back to its path after it was removed. `user` is the id of an account.
  /// Those of the songs that have one, in ascending order of songs.
  virtual std::vector<SongMark> MarksOf(int user, const std::vector<int32_t> &songs) = 0;
  /// All of a user's marks, or those with a star, in ascending order of songs.
  virtual Page<SongMark> ListMarks(int user, bool starred, const Range &range) = 0;
  /// Gives what the mark is then; nothing when there is no such song. Whether the user sees the
  /// song is the caller's to know.
  virtual std::optional<Mark> ChangeMark(int user, int32_t song, const MarkChange &change) = 0;
  /// Of a user who is gone, also those that are kept for songs that are gone; how many.
  virtual int64_t RemoveMarks(int user) = 0;

  // Songs, as the scanner keeps them.
  /// All songs of `owner`, by path.
  virtual std::vector<SongFile> SongFiles(int owner) = 0;
  /// In one transaction: removes the rows `removed`, then adds each of `songs` whose id is 0, and
  /// gives the others what their files tell (path, tags, audio properties, size and time). A row
  /// that is already there keeps its owner, its rating, its play count and the time it was added.
  virtual void WriteSongs(const std::vector<Song> &songs, const std::vector<int32_t> &removed) = 0;
  /// The files of `owner` that were no audio when they were read, by path, with ids of 0.
  virtual std::vector<SongFile> UnreadableFiles(int owner) = 0;
  virtual void SetUnreadableFiles(int owner, const std::vector<SongFile> &files) = 0;

  // Playlists.
  /// Adds a row and gives its id; throws when the owner has one with that path.
  virtual int32_t AddPlaylist(const Playlist &playlist) = 0;
  virtual bool UpdatePlaylist(int owner, int32_t id, const Playlist &values) = 0; ///< false: no row
  virtual bool UpdatePlaylist(int owner, const std::string &old_path, const Playlist &values) = 0;
  virtual bool RemovePlaylist(int owner, int32_t id) = 0; ///< false: no such row
  /// Those of `owner` that exist, in no promised order.
  virtual std::vector<Playlist> PlaylistsById(int owner, const std::vector<int32_t> &ids) = 0;
  virtual std::optional<Playlist> PlaylistByPath(int owner, const std::string &path) = 0;
  /// All rows of `owner`, by path.
  virtual std::vector<Playlist> AllPlaylists(int owner) = 0;
  /// Makes one transaction of what `work` does with playlists: nobody else writes meanwhile, and a
  /// throw undoes all of it. kSoon: a power failure may take it back, which saves a sync.
  enum class Durable { kNow, kSoon };
  virtual void InTransaction(Durable durable, const std::function<void()> &work) = 0;

  // Upkeep.
  /// Takes songs that an older program wrote into the lists above, if there are any, in
  /// transactions that others need not wait for long.
  virtual void CompleteCatalog() = 0;
  /// After many changes: what makes later searches and openings quick again.
  virtual void Optimize() = 0;
  /// What is broken inside the index, a line a finding; nothing when all is well.
  virtual std::vector<std::string> FindDamage() = 0;
  /// Builds anew what can be built from the rows; FindDamage() tells what remains.
  virtual void RepairDamage() = 0;
};

/// The engine on a SQLite file, made and migrated where needed.
std::unique_ptr<MediaIndex> OpenSqliteIndex(const std::string &path);

/// How long a server may be silent before it counts as gone: for who asks about some songs, and for
/// who goes through all of them.
inline constexpr std::chrono::seconds kRequestPatience{30}, kToolPatience{3600};

/// The engine on a PostgreSQL server, which the URL tells; the schema is made and migrated where
/// needed, when it is first asked.
std::unique_ptr<MediaIndex> OpenPostgresIndex(const std::string &url,
                                              std::chrono::seconds patience = kRequestPatience);

/// The index that a URL names: a path of a SQLite file, or postgresql://... Throws IndexError.
std::unique_ptr<MediaIndex> OpenIndexAt(const std::string &url,
                                        std::chrono::seconds patience = kRequestPatience);

/// Opens the index of this machine, made and migrated where needed.
std::unique_ptr<MediaIndex> OpenMediaIndex();

/// What names the index of this machine, as its configuration says.
std::string MediaIndexUrl();

/// The file that such a URL names; empty: a server has the index.
std::string IndexFileOf(const std::string &url);

/// Whether there is an index to open; else opening would make an empty one.
bool HasMediaIndex();

/// The one index of this process, opened at the first call; open until the process has ended.
MediaIndex &ProcessIndex();

/// Puts another in its place; null: it is opened anew at the next call, as is needed after a
/// fork().
void SetProcessIndex(std::unique_ptr<MediaIndex> index);

} // namespace vexo::index
