#include "index/song_identity.h"

#include "text/case_folding.h"
#include "text/numbers.h"
#include "text/search_folding.h"
#include <algorithm>
#include <array>
#include <string_view>

namespace vexo::index {
namespace {

/// Between the parts of an identity; no text of a tag has it, as it ends C strings.
constexpr char kSeparator = '\0';

std::string NameOf(const std::string &path) { return path.substr(path.rfind('/') + 1); }

/// The number of one or two digits that `text` is, perhaps with what the disc is called behind it.
std::optional<int32_t> DiscNumber(std::string_view text) {
  constexpr std::size_t kMostDigits = 2;
  text.remove_prefix(std::min(text.find_first_not_of(" -_.#"), text.size()));
  const std::size_t digits = std::min(text.find_first_not_of("0123456789"), text.size());
  const bool ends = digits == text.size() ||
                    std::string_view(" -_.:([").find(text[digits]) != std::string_view::npos;
  if (digits == 0 || digits > kMostDigits || !ends) {
    return std::nullopt;
  }
  return static_cast<int32_t>(text::ParseInteger(text.substr(0, digits)).value_or(0));
}

std::string AlbumFolderOf(const std::string &folder) {
  return DiscOfFolder(NameOf(folder)) ? FolderOf(folder) : folder;
}

GroupIdentity AlbumOf(const Song &song, const std::string &folder) {
  if (song.album.empty()) {
    return {};
  }
  std::string artist = text::FoldCase(song.album_artist);
  if (song.compilation && artist == text::FoldCase(song.artist)) {
    artist.clear(); // what some programs write where nobody is named
  }
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

std::optional<int32_t> DiscOfFolder(const std::string &name) {
  constexpr std::array<std::string_view, 7> kWords = {"cd",    "disc", "disk", "disque",
                                                      "disco", "dvd",  "lp"};
  const std::string folded = text::FoldForSearch(name);
  for (const std::string_view word : kWords) {
    const auto number = folded.starts_with(word)
                            ? DiscNumber(std::string_view(folded).substr(word.size()))
                            : std::nullopt;
    if (number) {
      return number;
    }
  }
  return std::nullopt;
}

int32_t DiscOf(int32_t disc, const std::string &path) {
  return disc > 0 ? disc : DiscOfFolder(NameOf(FolderOf(path))).value_or(0);
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
