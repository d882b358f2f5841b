#pragma once
// What songs have in common (albums, artists, folders, ...), and lists of songs and of these to
// page through, as questions free of any engine's language.

#include "index/song.h"
#include "index/song_query.h"
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace vexo::index {

enum class GroupKind { kAlbum = 1, kArtist, kGenre, kComposer, kYear, kFolder };

/// Songs of one owner that have something in common. An id is never given again, and stays the same
/// as long as the group has songs.
///
/// Names are the same when they differ in letter case only. An artist is one whether songs or
/// albums name it. Songs are of one album when they have the same title of an album and the same
/// album artist, and lie in the same folder; folders of discs ("CD 1", "Disc 2") count as the
/// folder that they lie in. An album artist that is the song's own artist is none in a song that is
/// said to be of a compilation.
struct Group {
  int32_t id = 0;
  int owner = 0;
  GroupKind kind = GroupKind::kAlbum;
  std::string name; ///< the album's title; of a folder, its path; of a year, its digits
  /// Of songs: of an artist, those that name it as theirs; of a folder, those of folders in it too.
  int64_t songs = 0, duration_ms = 0, size_bytes = 0;
  int64_t albums = 0;    ///< those that have songs of this group; of folders and albums, 0
  int32_t parent_id = 0; ///< of a folder, the one above, if any; of an album, its folder

  // Of albums only. Of one with very many songs, a part of them decides.
  int32_t artist_id = 0;              ///< 0: its songs do not agree
  std::string artist;                 ///< that artist's name
  bool compilation = false;           ///< said to be one, or of several artists
  int32_t discs = 0;                  ///< the highest number
  int32_t year_from = 0, year_to = 0; ///< 0: not known
  int64_t time_added = 0;             ///< of the song that was first

  /// A song whose picture may stand for the group; 0: none.
  int32_t cover_song = 0;

  friend bool operator==(const Group &, const Group &) = default;
};

/// The ids of the groups that a song is in; 0 where it has no such name.
struct SongGroups {
  int32_t album = 0, artist = 0;
  int32_t album_artist =
      0; ///< the artist instead, when there is no album artist and no compilation
  int32_t genre = 0, composer = 0, folder = 0;

  friend bool operator==(const SongGroups &, const SongGroups &) = default;
};

struct CatalogSong {
  Song song;
  SongGroups groups;
};

template <typename Item> struct Page {
  int64_t total = 0; ///< of the whole list
  std::vector<Item> items;
};

/// Which part of a list, from 0.
struct Range {
  int64_t offset = 0, limit = 0;
};

/// A list of one owner's songs.
///
/// `words` are found in any order and in any of title, artist, album and album artist, in any
/// letter case, with accents or without; a word of one or two characters only where a word begins.
/// An id that is not 0 tells which group the songs are in.
///
/// Songs that `sort` does not tell apart come by id. Among songs of one album title, kAlbum tells
/// albums apart.
struct SongList {
  int owner = 0;
  std::string words;
  SongGroups groups;
  int32_t below = 0; ///< the folder that they lie in, or in folders in it; 0: anywhere
  std::optional<int32_t> year_from, year_to;
  std::string type; ///< empty: any
  std::vector<Field> sort;
  bool ascending = true;
};

enum class GroupField { kName, kArtist, kYear, kTimeAdded, kSongs, kAlbums, kDuration };

/// A list of one owner's groups of one kind.
struct GroupList {
  int owner = 0;
  GroupKind kind = GroupKind::kAlbum;
  /// As for songs; in the name, and in the artist of an album. Years have to begin with them.
  std::string words;
  // Albums only. Those with songs of all of these artists, genres, composers and years:
  std::vector<int32_t> in_groups;
  int32_t artist_id = 0; ///< the album's own; 0: any
  std::optional<int32_t> year_from, year_to;
  int32_t parent_id = 0; ///< folders and albums in this folder; 0: anywhere
  std::vector<GroupField> sort;
  bool ascending = true;
};

} // namespace vexo::index
