#pragma once
// Extended M3U: a line a song (a path or an address), lines that begin with '#' are tags or
// comments. The tag "#EXTINF:seconds,Artist - Title" tells about the song of the next path's line.
// Everything works on views of the file's bytes: what is not touched stays as it is, to the byte.
//
// A path that begins with '#', a blank or a byte order mark would be taken for a comment, or lose
// its blanks, in any reader. Such a path is relative, so it is written with "./" before it, and
// read without.

#include "files/file_io.h"
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace vexo::playlists {

/// One song of a file. Offsets count bytes of the content it was parsed from.
struct M3uEntry {
  std::size_t begin;     ///< of the first line that belongs to it: its #EXTINF, or its path's line
  std::size_t path_line; ///< where the path's line begins
  std::size_t end;       ///< behind its path's line, the line's end included
  std::string_view path; ///< as it stands there, without blanks before it and without "\r\n"
  std::string_view info; ///< of its #EXTINF tag, behind the colon; empty when it has none
};

/// Lines longer than a path are passed over. Throws UnreadableError for more than kMaxEntries.
std::vector<M3uEntry> ParseM3u(std::string_view content);

/// How many entries ParseM3u() would give, without making them.
std::size_t CountM3uEntries(std::string_view content);

/// As many or more, in a third of the time: lines that do not begin as comments do.
std::size_t MostM3uEntries(std::string_view content);

/// The path that an entry's text stands for: without the "./" that protects it.
std::string_view UnprotectPath(std::string_view text);

/// What an #EXTINF tag tells; empty and 0 when it does not.
struct M3uInfo {
  float duration_seconds = 0;
  std::string_view artist, title;
};
M3uInfo ParseM3uInfo(std::string_view info);

/// A song to write: views of the caller's texts. Bytes that are not UTF-8 are read in the host's
/// code page.
struct NewEntry {
  std::string_view path, artist, title;
  float duration_seconds = 0; ///< 0: not known
};

/// Appends the lines of one song; nothing for a song without a path. Throws std::invalid_argument
/// for a path that holds a line break.
void AppendM3uEntry(std::string &text, const NewEntry &song);

/// The lines of all songs. Throws UnreadableError for more than kMaxEntries.
std::string M3uEntries(std::span<const NewEntry> songs);

/// The line that a file begins with.
inline constexpr std::string_view kM3uHead = "#EXTM3U\n";

// Edits. `entries` is what ParseM3u() made of `content`, `text` is of M3uEntries(). What they give
// are views of both. Lines whose meaning is not known stay where they stand.

/// `text` behind everything that is there.
files::Pieces AppendedM3u(std::string_view content, std::string_view text);

/// `text` in the place of the entries [first, last).
files::Pieces SplicedM3u(std::string_view content, const std::vector<M3uEntry> &entries,
                         std::size_t first, std::size_t last, std::string_view text);

/// Without the entries at `positions`, which ascend.
files::Pieces ReducedM3u(std::string_view content, const std::vector<M3uEntry> &entries,
                         const std::vector<std::size_t> &positions);

} // namespace vexo::playlists
