#pragma once
// Edits of playlist files, for files::EditDurably().

#include "files/edit_file.h"
#include "playlists/m3u.h"
#include <span>
#include <string>
#include <vector>

namespace vexo::playlists {

/// Appends songs; no songs change nothing.
files::Edit Appending(std::span<const NewEntry> songs);

/// Puts songs in the place of those at [start, start + limit).
files::Edit Splicing(std::span<const NewEntry> songs, long start, long limit);

/// Puts songs in the place of all there are.
files::Edit Replacing(std::span<const NewEntry> songs);

/// Removes the songs at the positions of the text.
files::Edit Removing(std::string positions);

/// The entries that went, as the playlist had them.
struct RemovedSongs {
  std::string playlist;
  std::vector<std::string> entries;
};

/// Removes the songs that are gone for certain, and tells `removed`.
files::Edit RemovingMissing(RemovedSongs &removed);

/// Writes them to the administrative log, an entry a line.
void LogRemovedSongs(const RemovedSongs &removed) noexcept;

} // namespace vexo::playlists
