#pragma once
#include "playlists/library_files.h"
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vexo::playlists {

/// Whether a playlist's entry is an address: a scheme and "://" (RFC 3986).
bool IsStreamAddress(std::string_view entry);

/// Whether it is an address of a file, of this machine or of another one, in whatever form.
bool IsFileAddress(std::string_view entry);

/// The path of a local file's address ("file:///a%20b", "file://localhost/a", "file:/a"; RFC 8089);
/// nothing for any other text. What is no escape stays as it is.
std::optional<std::string> PathOfFileAddress(std::string_view entry);

/// Tells which files the entries of one playlist file mean. A relative path is relative to the
/// file's folder, or else to its library's root (the shared library's, for a file in no library);
/// bytes that are not UTF-8 may be the path's own, or text of the host's code page; backslashes may
/// separate folders. Nothing outside of the libraries is looked at.
class EntryPaths {
public:
  explicit EntryPaths(std::string playlist_path) : playlist_path_(std::move(playlist_path)) {}

  /// The path or address an entry stands for: the first file that is there of those it may mean, or
  /// else its text, as UTF-8 where that can be. An absolute path and a stream's address stand for
  /// themselves.
  std::string Resolve(std::string_view entry);

  /// Whether a file that the text may mean is there.
  bool NamesFile(std::string_view entry);

  /// Whether every way to read the entry leads to files that are certainly gone. One that may lie
  /// outside of the libraries cannot be known. Throws std::runtime_error when a library that it may
  /// lie in is not there, or empty, or cannot be read.
  bool IsGone(std::string_view entry);

  /// Throws std::runtime_error when a library that songs are gone from is not what it was.
  void RequireSameLibraries();

private:
  /// The paths that one way to read an entry leads to, the likeliest first.
  using Reading = std::vector<std::string>;
  struct Bases {
    std::string folder, root; ///< as the library names them; either may be empty: not known
  };

  LibraryFiles &Files();
  const Bases &KnownBases();
  Reading Joined(const std::vector<std::string> &texts);
  std::vector<Reading> Readings(std::string_view entry);
  bool IsGone(const Reading &reading);
  std::optional<std::string> FirstThere(std::string_view entry);

  std::string playlist_path_;
  std::optional<LibraryFiles> files_; ///< both found when first asked for
  std::optional<Bases> bases_;
};

} // namespace vexo::playlists
