#include "index/song_identity.h"

#include "text/case_folding.h"
#include "text/search_folding.h"
#include <algorithm>
#include <array>
#include <string_view>

namespace vexo::index {
namespace {

/// Between the parts of an identity; no text of a tag has it, as it ends C strings.
constexpr char kSeparator = '\0';

std::string AlbumFolderOf(const std::string &folder) {
  const std::size_t slash = folder.rfind('/');
  const bool disc =
      slash != std::string::npos && slash > 0 && IsDiscFolder(folder.substr(slash + 1));
  return disc ? folder.substr(0, slash) : folder;
}

/// A number of one or two digits, and perhaps what the disc is called.
bool IsDiscNumber(std::string_view text) {
  constexpr std::size_t kMostDigits = 2;
  text.remove_prefix(std::min(text.find_first_not_of(" -_.#"), text.size()));
  const std::size_t digits = std::min(text.find_first_not_of("0123456789"), text.size());
  const bool ends = digits == text.size() ||
                    std::string_view(" -_.:([").find(text[digits]) != std::string_view::npos;
  return digits >= 1 && digits <= kMostDigits && ends;
}

GroupIdentity AlbumOf(const Song &song, const std::string &folder) {
  if (song.album.empty()) {
    return {};
  }
  const std::string artist = song.compilation ? "" : text::FoldCase(song.album_artist);
  return {GroupKind::kAlbum, text::FoldCase(song.album) + kSeparator + artist + kSeparator + folder,
          song.album};
}

/// The artist stands for an album artist that nobody names.
const std::string &AlbumArtistOf(const Song &song) {
  const bool has_none = song.album_artist.empty() && !song.compilation;
  return has_none ? song.artist : song.album_artist;
}

} // namespace

GroupIdentity NamedGroup(GroupKind kind, const std::string &name) {
  return {kind, text::FoldCase(name), name};
}

GroupIdentity FolderGroup(std::string path) { return {GroupKind::kFolder, path, std::move(path)}; }

std::string FolderOf(const std::string &path) {
  const std::size_t slash = path.rfind('/');
  if (slash == std::string::npos || path == "/") {
    return "";
  }
  return slash == 0 ? "/" : path.substr(0, slash);
}

bool IsDiscFolder(const std::string &name) {
  constexpr std::array<std::string_view, 7> kWords = {"cd",    "disc", "disk", "disque",
                                                      "disco", "dvd",  "lp"};
  const std::string folded = text::FoldForSearch(name);
  return std::any_of(kWords.begin(), kWords.end(), [&](std::string_view word) {
    return folded.starts_with(word) && IsDiscNumber(std::string_view(folded).substr(word.size()));
  });
}

SongIdentity IdentifySong(const Song &song) {
  const std::string folder = FolderOf(song.path);
  const std::string album_folder = AlbumFolderOf(folder);
  SongIdentity identity;
  identity.album = AlbumOf(song, album_folder);
  identity.artist = NamedGroup(GroupKind::kArtist, song.artist);
  identity.album_artist = NamedGroup(GroupKind::kArtist, AlbumArtistOf(song));
  identity.genre = NamedGroup(GroupKind::kGenre, song.genre);
  identity.composer = NamedGroup(GroupKind::kComposer, song.composer);
  identity.year =
      NamedGroup(GroupKind::kYear, song.year > 0 ? std::to_string(song.year) : std::string());
  identity.album_folder = FolderGroup(album_folder);
  identity.folder = FolderGroup(folder);
  return identity;
}

} // namespace vexo::index
