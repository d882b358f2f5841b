#pragma once
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vexo::playlists {

/// Whether a playlist's entry is a stream's address: a scheme and "://" (RFC 3986).
bool IsStreamAddress(std::string_view entry);

/// Tells which files the entries of one playlist file mean. A relative path is relative to the
/// file's folder, or else to its library's root (the shared library's, for a file in no library);
/// bytes that are not UTF-8 may be the path's own, or text of the host's code page.
class EntryPaths {
public:
  explicit EntryPaths(std::string playlist_path) : playlist_path_(std::move(playlist_path)) {}

  /// The path or address an entry stands for: the first candidate that is there. The entry's text,
  /// as UTF-8 where that can be, when none is.
  std::string Resolve(std::string_view entry);

  /// All the paths that a file's entry may stand for, the likeliest first.
  std::vector<std::string> Candidates(std::string_view entry);

private:
  struct Bases {
    std::string folder, root; ///< as the library names them; either may be empty: not known
  };
  const Bases &KnownBases();

  std::string playlist_path_;
  std::optional<Bases> bases_; ///< found when first asked for
};

} // namespace vexo::playlists
