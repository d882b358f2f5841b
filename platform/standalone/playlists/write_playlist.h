#pragma once
// Playlist files written whole.

#include "index/media_index.h"
#include "playlists/m3u.h"
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace vexo::playlists {

/// Makes the playlist file `path` with these songs, or replaces the songs of the one that is there.
/// Songs for a file that was there for this process, and that is gone since, are refused: somebody
/// renamed or deleted it, and a second file would bring the old name back. Throws.
///
/// The program makes a list empty before it fills it. So no songs for a file that is there are held
/// back until songs for it come, or until FinishWriting(): whenever the process ends, the old songs
/// are there or the new ones. A new file is there at once, but not yet durable.
void WriteSongs(std::span<const NewEntry> songs, const std::string &path);

/// Does what is held back, as the end of the process does. False when something failed, which is
/// logged.
bool FinishWriting() noexcept;

/// Why songs or rows could not be read.
enum class Unread { kNotThere, kFailed };

/// Records that something could not be read, in the index or in a file: from now on this process
/// refuses to write empty lists, as the program takes what could not be read for empty. A refused
/// list that this process has made a file for, but no row, is removed again.
void NoteUnread(Unread reason) noexcept;
/// Whether a read failed of what may well be there.
[[nodiscard]] bool HasReadFailed() noexcept;

/// Forgets all of this, the files that were seen or are held, and the condition, as a test does
/// that stands for a process of its own.
void ForgetWriting() noexcept;

/// Makes the playlist file `path` in the folder for temporary files, where others may have put
/// something of that name: a link is replaced, a file only when it is the server's own. Throws.
void WriteTemporaryPlaylist(const std::vector<index::Song> &songs, const std::string &path);
/// The same with these bytes.
void WriteTemporaryPlaylist(std::string_view bytes, const std::string &path);

} // namespace vexo::playlists
