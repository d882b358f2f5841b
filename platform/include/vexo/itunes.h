#pragma once
// The DAAP service: its smart-playlist files and its restart. A negative result is a failure that
// has changed nothing.

#include "vexo/core.h"

struct iTunesPLNode; ///< one node of a rule, a chain; the host's own

/// One smart playlist: its name and its rules.
struct iTunesPlaylist {
  char name[255];
  int flags;
  iTunesPLNode *nodes; ///< last member; null when nothing is attached
};

/// Reads the playlist `name` of `file` into `playlist`; its nodes become the caller's, to release
/// with iTunesPLNodesFree(). 0, or -1: there is none, or it cannot be read.
int iTunesPlaylistGetByFilename(const char *file, const char *name, iTunesPlaylist *playlist);
/// Writes `playlist` into `file`: in the place of the playlist `name`, or as a new one when `name`
/// is null. 0, or -1.
int iTunesPlaylistSetByFilename(const char *file, const char *name, const iTunesPlaylist *playlist);
/// 1 when `file` holds a playlist `name`, else 0.
int IsiTunesPlaylistExistByFilename(const char *file, const char *name);
/// Removes the playlists with the given names from `file`; a name that is not there is passed over.
/// 0, or -1.
int iTunesPlaylistDeleteByFilename(const char *file, PSZLIST names);
/// Releases a chain of rule nodes. Null is allowed.
void iTunesPLNodesFree(iTunesPLNode *nodes);
/// Restarts the DAAP service if it is in use. 0, also when none is; -1: it could not be restarted.
int iTunesServiceCheckAndReStart();
