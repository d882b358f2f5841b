#include "playlists/playlist_content.h"
#include "files/file_io.h"
#include "playlists/entry_paths.h"
#include "playlists/line_reader.h"
#include "playlists/playlist_text.h"
#include <algorithm>
#include <strings.h>

namespace vexo::playlists {

namespace {

bool IsM3u(std::string_view text) {
  constexpr std::string_view kHead = "#EXTM3U";
  LineReader lines(text);
  while (const auto line = lines.Next()) {
    if (!line->text.empty()) {
      return line->text.starts_with(kHead);
    }
  }
  return false;
}

bool IsPlsName(std::string_view path) {
  constexpr std::string_view kExtension = ".pls";
  return path.size() >= kExtension.size() &&
         strncasecmp(path.data() + path.size() - kExtension.size(), kExtension.data(),
                     kExtension.size()) == 0;
}

/// What an edit of M3U gives, with the head of M3U before it where its first line, which followed
/// others until now, would tell of PLS or of UTF-16.
files::Pieces StillM3u(files::Pieces pieces) {
  const auto first = std::find_if(pieces.begin(), pieces.end(), [](std::string_view piece) {
    return piece.find_first_not_of(" \t\r\n") != std::string_view::npos;
  });
  if (first != pieces.end() && (IsPls(*first) || HasUtf16Mark(pieces.front()))) {
    pieces.insert(pieces.begin(), kM3uHead);
  }
  return pieces;
}

/// The songs of lines of M3U, as PLS has them: an artist stands in the title.
std::vector<PlsEntry> PlsEntries(std::string_view songs) {
  std::vector<PlsEntry> entries;
  for (const M3uEntry &song : ParseM3u(songs)) {
    const std::size_t comma = song.info.find(',');
    entries.push_back({song.path,
                       comma == std::string_view::npos ? "" : song.info.substr(comma + 1),
                       ParseM3uInfo(song.info).duration_seconds});
  }
  return entries;
}

} // namespace

PlaylistContent::PlaylistContent(std::string_view bytes, const std::string &path) : text_(bytes) {
  const auto take = [this](std::optional<std::string> converted) {
    if (converted) {
      converted_ = *std::move(converted);
      text_ = converted_;
    }
  };
  EntryPaths paths(path);
  take(FromUtf16(text_));
  if (RequireText(text_)) {
    take(WithLineFeeds(text_, [&](std::string_view line) {
      return !IsTooLongForPath(line) && paths.NamesFile(line);
    }));
  }
  if (IsPls(text_) || (IsPlsName(path) && !IsM3u(text_))) {
    pls_.emplace(text_);
  }
}

const std::vector<M3uEntry> &PlaylistContent::M3uList() {
  if (!m3u_) {
    m3u_ = ParseM3u(text_);
  }
  return *m3u_;
}

std::size_t PlaylistContent::size() { return pls_ ? pls_->entries().size() : M3uList().size(); }

ContentEntry PlaylistContent::At(std::size_t position) {
  if (pls_) {
    const PlsEntry &entry = pls_->entries()[position];
    return {entry.path, {}, entry.title, entry.duration_seconds};
  }
  const M3uEntry &entry = M3uList()[position];
  const M3uInfo info = ParseM3uInfo(entry.info);
  return {entry.path, info.artist, info.title, info.duration_seconds};
}

files::Pieces PlaylistContent::Appended(std::string_view songs) {
  if (pls_) {
    return Spliced(size(), size(), songs);
  }
  // A song appended to a long list takes as long as going through its lines. An entry takes two
  // bytes at least: a short list need not be counted.
  if ((text_.size() + songs.size()) / 2 >= kMaxEntries &&
      MostM3uEntries(text_) + MostM3uEntries(songs) > kMaxEntries) {
    RequireRoom(CountM3uEntries(text_) + CountM3uEntries(songs));
  }
  return AppendedM3u(text_, songs);
}

files::Pieces PlaylistContent::Spliced(std::size_t first, std::size_t last,
                                       std::string_view songs) {
  if (pls_) {
    edited_ = pls_->Spliced(first, last, PlsEntries(songs));
    return {edited_};
  }
  RequireRoom(size() - (last - first) + CountM3uEntries(songs));
  return StillM3u(SplicedM3u(text_, M3uList(), first, last, songs));
}

files::Pieces PlaylistContent::Reduced(const std::vector<std::size_t> &positions) {
  if (pls_) {
    edited_ = pls_->Reduced(positions);
    return {edited_};
  }
  return StillM3u(ReducedM3u(text_, M3uList(), positions));
}

files::Pieces NewPlaylist(const std::string &path, std::string_view songs, std::string &edited) {
  if (!IsPlsName(path)) {
    return {kM3uHead, songs};
  }
  edited = PlsList("").Spliced(0, 0, PlsEntries(songs));
  return {edited};
}

} // namespace vexo::playlists
