#pragma once
// Personal folders, playlist files as a whole, and smart playlists as lists of songs.

#include "vexo/media_info.h"
#include <list>

/// A playlist file read into memory: pointers to its records, in order.
class AudioPlaylist {
public:
  virtual void Release() = 0; ///< frees the object and its records
  __tag_VEXO_MEDIA_INFO **begin, **end;

protected:
  virtual ~AudioPlaylist() = default;
};

class AudioFile {
public:
  /// Copies the folder of the user's personal library into `buffer` of `size` bytes. 1 on success;
  /// 0: there is none.
  static int GetPersonalLibraryFolderPath(const char *userName, char *buffer, int size);
  /// Loads a playlist file (PLS or M3U): the entries from position `offset` on, `limit` at most (0:
  /// all). The object is released with Release(). Null: it cannot be loaded.
  static AudioPlaylist *PlaylistFileLoad(const char *path, int offset, int limit);
  /// Writes `count` songs, drawn uniformly and without repeats, into the playlist file `path`. 1 on
  /// success; 0: failed.
  static int PlaylistRandomCreate(const char *library, int userId, const char *path, int count);
};

class VexoAudioUtils {
public:
  /// Lists the songs of the smart playlist `name` of `rulesFile` (null: the shared rules) from
  /// position `offset` on, `limit` at most (0: all), appending to `songs`. `*count` becomes their
  /// number, also when memory does not suffice for their records. `refresh` asks for a fresh
  /// evaluation where the host keeps results. 0 on success; -1: failed or no such playlist, `songs`
  /// is untouched, and so is `*count` where they could not be counted.
  static int SmartPLSListSongs(const char *name, int offset, int limit, int *count,
                               std::list<__tag_VEXO_MEDIA_INFO> &songs, const char *rulesFile,
                               bool refresh);
};
