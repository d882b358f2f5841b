#pragma once
// The media index: songs, and the rows of the playlists that are kept in a library. `library` is
// "shared" or "personal"; with "personal", `userId` says whose. The shared library answers the same
// for every `userId`.

#include "vexo/media_info.h"

/// Looks up the songs with the comma-separated decimal `ids`, in one query. 0: `*head` is a list,
/// the caller's to release with VEXOPlaylistRecFree(), of those that exist (null when none does),
/// in no promised order; -1: failed, `*head` is untouched.
int VEXOMusicListGetByID(const char *library, int userId, VEXOPlaylistRec **head, const char *ids);

/// Searches songs for `keyword`. `field`: 1 title, 2 artist, 3 album, 6 genre, 8 all of these, 0
/// none. Sorted by the column named `sort`, upwards when `ascending` is not 0; `offset` and `limit`
/// count songs, a limit of 0 is no limit. 0: `*head` is the list found (null when empty), the
/// caller's to release with VEXOPlaylistRecFree(); -1: failed, `*head` is untouched.
int VEXOMusicListAll(const char *library, int userId, VEXOPlaylistRec **head, int field,
                     const char *keyword, const char *sort, int ascending, int offset, int limit);

/// A query that is being read; the host's own.
struct VEXOMediaCursor;

/// Opens a query on a table (3: playlists). `fields` is "*"; `query` is "id = %d". The last four
/// arguments are 0 for all rows in the table's order. Null: failed.
VEXOMediaCursor *AudioInfoDBOpen(const char *library, int userId, int table, const char *fields,
                                 const char *query, int offset, int limit, int sort, int flags);
/// Fills `info` with the next row. 0: filled; -1: no further row, or failed; `info` is untouched.
int MediaInfoDBGet(VEXOMediaCursor *cursor, __tag_VEXO_MEDIA_INFO *info);
/// Closes the query and releases the cursor. Null is allowed.
void AudioInfoDBClose(VEXOMediaCursor *cursor);

/// Adds the row of a new shared playlist: path, title, album (its folder), times, size. 0: added;
/// -1: failed, for instance because a row with that path exists.
int VEXOPlaylistDBSave(const __tag_VEXO_MEDIA_INFO *playlist);
/// The same for the personal library of `userId`; `kind` is 3, the playlist table.
int PersonalLibraryInfoDBSave(int kind, const __tag_VEXO_MEDIA_INFO *playlist, int userId);
/// Rewrites the row `playlistId` from `playlist`. 0: written; -1: failed, or no such row.
int VEXOPlaylistDBUpdate(const char *library, int userId, const __tag_VEXO_MEDIA_INFO *playlist,
                         int playlistId);
/// Rewrites the row whose path is `oldPath` from `playlist`. 0: written; -1: failed, or no such
/// row.
int VEXOPlaylistDBUpdate(const char *library, int userId, const __tag_VEXO_MEDIA_INFO *playlist,
                         const char *oldPath);

/// Copies the id of the playlist at `path`, as decimal text, into `buffer` of `size` bytes. 0, or
/// -1: there is none.
int VEXOPlaylistIDGet(const char *library, int userId, const char *path, char *buffer, int size);
/// Copies the file path of the playlist `playlistId` into `buffer` of `size` bytes. 0, or -1: there
/// is none, `buffer` is untouched.
int VEXOPlaylistPathGet(const char *library, int userId, int playlistId, char *buffer, int size);
/// Copies the title of the row with the id text `id` out of `list` into `buffer` of `size` bytes.
/// 0, or -1: `list` does not hold it.
int VEXOPlaylistTitleGet(const char *id, char *buffer, int size, const VEXOPlaylistRow *list);
/// Copies the title of the personal playlist at `path` of the user into `buffer` of `size` bytes.
/// 0, or -1: there is none.
int VEXOPlaylistTitleGetByPath(const char *path, char *buffer, int size, int userId);

/// Looks up the playlists with the comma-separated decimal `ids`. 0: `*list` holds at least one row
/// (ids that are not there are left out), the caller's to release with VEXOPlayListFree(); -1: none
/// was found, `*list` is untouched.
int VEXOPlayListListGetByID(const char *library, int userId, VEXOPlaylistRow **list,
                            const char *ids);
/// Removes every playlist of `list`, its file and its row. 0: all are gone; -1: failed, with what
/// was removed before the failure gone.
int VEXOPlayListUnlink(const char *library, VEXOPlaylistRow *list);
/// Releases a list of playlist rows. Null is allowed.
void VEXOPlayListFree(VEXOPlaylistRow *list);

/// The code page of texts that are not UTF-8, as a number that VLIBCUnicodeStrUTF8ToCP() takes.
int VEXOIndexCodePageGet();
