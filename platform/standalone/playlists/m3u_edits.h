#pragma once
// What the edits of playlists make of a file's content.

#include "files/durable_file.h"
#include "playlists/m3u.h"
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace vexo::playlists {

/// Makes the new content of the playlist file at `path` from the old one, as files::PieceEdit does.
using Change =
    std::function<std::optional<files::Pieces>(std::string_view content, const std::string &path)>;

/// Appends songs; no songs change nothing.
Change Appending(std::span<const NewEntry> songs);

/// Puts songs in the place of those at [start, start + limit).
Change Splicing(std::span<const NewEntry> songs, long start, long limit);

/// Puts songs in the place of all there are.
Change Replacing(std::span<const NewEntry> songs);

/// Removes the songs at the positions of the text.
Change Removing(std::string positions);

/// The entries that went, as the playlist had them.
struct RemovedSongs {
  std::string playlist;
  std::vector<std::string> entries;
};

/// Removes the songs that are gone for certain, and tells `removed`.
Change RemovingMissing(RemovedSongs &removed);

/// Writes them to the administrative log, an entry a line.
void LogRemovedSongs(const RemovedSongs &removed) noexcept;

/// Changes the playlist file at `path`; false: it is not there.
[[nodiscard]] bool ChangeFile(const std::string &path, const Change &change);

} // namespace vexo::playlists
