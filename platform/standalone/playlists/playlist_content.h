#pragma once
// The entries of a playlist file and edits of them, whatever its format. The first line that is not
// blank tells M3U ("#EXTM3U") and PLS ("[playlist]"); a file without either is PLS when its name
// ends in ".pls", and M3U otherwise. An edit keeps the format. What was UTF-16, or had lines that
// end in a carriage return alone, becomes UTF-8 with line feeds by an edit.

#include "files/file_io.h"
#include "playlists/m3u.h"
#include "playlists/pls.h"
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vexo::playlists {

/// What a file tells of a song, as it stands there.
struct ContentEntry {
  std::string_view path, artist, title;
  float duration_seconds = 0; ///< 0: not known
};

class PlaylistContent {
public:
  /// Reads the bytes of the playlist file at `path`, and keeps views of them. Throws
  /// UnreadableError for what is no text, or has too many entries.
  PlaylistContent(std::string_view bytes, const std::string &path);
  PlaylistContent(const PlaylistContent &) = delete;
  PlaylistContent &operator=(const PlaylistContent &) = delete;

  [[nodiscard]] std::size_t size();
  [[nodiscard]] ContentEntry At(std::size_t position);

  // Edits. The songs are lines of M3uEntries(). What an edit gives are views of the bytes, of the
  // songs and of this object. They throw UnreadableError when there would be too many entries.

  files::Pieces Appended(std::string_view songs);
  files::Pieces Spliced(std::size_t first, std::size_t last, std::string_view songs);
  /// Without the entries at `positions`, which ascend.
  files::Pieces Reduced(const std::vector<std::size_t> &positions);

private:
  const std::vector<M3uEntry> &M3uList();

  std::string converted_; ///< what other encodings and line ends became
  std::string_view text_; ///< all of it, or all of the file's bytes
  std::optional<PlsList> pls_;
  std::optional<std::vector<M3uEntry>> m3u_; ///< parsed when first asked for
  std::string edited_;                       ///< what an edit of PLS made
};

/// The pieces of a new playlist file at `path`, or of one that replaces what is no playlist: views
/// of `songs` and of `edited`.
files::Pieces NewPlaylist(const std::string &path, std::string_view songs, std::string &edited);

} // namespace vexo::playlists
