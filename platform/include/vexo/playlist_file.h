#pragma once
// Playlist files, and edits of their songs. A database playlist is named by library, user and id
// text, a preference-folder playlist by its file's path. Every edit leaves the old list or the new
// one. All edits: 0 on success, -1 on failure with nothing changed.

#include "vexo/media_info.h"

/// Writes the playlist file `path` with `songs` (null: an empty playlist); a file that exists has
/// its songs replaced. 0: written; -1: failed, what was there is untouched.
int VEXOWriteMusicPlaylist(const VEXOPlaylistRec *songs, const char *path);

/// Reads a playlist file: the entries from position `offset` on, `limit` at most (0: all). `fields`
/// is "*", `code` 7 (every field that the file and the index know). `*count` becomes the number of
/// entries read. The list is the caller's, released with VEXOPlaylistRecFree(). Null, and `*count`
/// untouched, when the file cannot be read; null with a count of 0 when it is empty.
VEXOPlaylistRec *ParsePlayListByFieldGivenPath(const char *path, int *count, int offset, int limit,
                                               const char *fields, int code);

/// Appends the `count` songs of `songs`.
int VEXOPlaylistAppendSongs(const char *library, int userId, const char *id,
                            const VEXOPlaylistRec *songs, int count);
/// Replaces the songs at [start, start + limit) by `songs`; `start` equal to the length appends.
int VEXOPlaylistUpdateSongs(const char *library, int userId, const char *id,
                            const VEXOPlaylistRec *songs, long start, long limit);
/// Removes the songs at the 0-based, comma-separated `positions`.
int VEXOPlaylistRemoveSongs(const char *library, int userId, const char *id, const char *positions);
/// Drops the songs whose files are certainly gone.
int VEXOPlaylistRemoveMissing(const char *library, int userId, const char *id);

/// VEXOPlaylistAppendSongs() for the preference-folder playlist at `path`.
int VEXOPersonalPlaylistAppendSongs(const char *path, const VEXOPlaylistRec *songs, int count);
/// VEXOPlaylistUpdateSongs() for the preference-folder playlist at `path`.
int VEXOPersonalPlaylistUpdateSongs(const char *path, const VEXOPlaylistRec *songs, long start,
                                    long limit);
/// VEXOPlaylistRemoveSongs() for the preference-folder playlist at `path`.
int VEXOPersonalPlaylistRemoveSongs(const char *path, const char *positions);
/// VEXOPlaylistRemoveMissing() for the preference-folder playlist at `path`.
int VEXOPersonalPlaylistRemoveMissing(const char *path);
