#pragma once
// The records that the program and its host exchange: songs and playlist rows.

#include <cstdint>

/// One song, or one playlist row. Zero everywhere means "not known". Text fields are UTF-8, always
/// terminated, and cut where they would not fit.
struct __tag_VEXO_MEDIA_INFO {
  int32_t id;      ///< of the song or of the playlist row; 0: not known
  char path[4096]; ///< of the file, or a stream's address
  int32_t track, disc, year;
  char title[255], album[255], artist[255], genre[255], albumArtUrl[255];
  char changeTime[32], modificationTime[32]; ///< ctime() text, with its newline
  float duration;                            ///< seconds
  uint32_t bitrate, sampleRate, channels;    ///< bit/s, Hz, count
  uint64_t size;                             ///< bytes
};

/// A node of a song list: one record and the link. Made with calloc().
struct VEXOPlaylistRec {
  __tag_VEXO_MEDIA_INFO info;
  VEXOPlaylistRec *next; ///< null at the end
};

/// A node of a list of playlist rows, released with VEXOPlayListFree().
struct VEXOPlaylistRow {
  __tag_VEXO_MEDIA_INFO info;
  int userId; ///< owner; 0 in the shared library
  VEXOPlaylistRow *next;
};

/// Releases a whole song list, each node with free(). Null is allowed.
void VEXOPlaylistRecFree(VEXOPlaylistRec *head);

/// Reverses a song list in place and returns its new head; null for null.
VEXOPlaylistRec *PlaylistRecReverse(VEXOPlaylistRec *head);
