#include "playlists/m3u.h"
#include "files/file_io.h"
#include "playlists/line_reader.h"
#include "playlists/playlist_text.h"
#include "system/host_encoding.h"
#include "text/numbers.h"
#include "text/utf8.h"
#include <algorithm>
#include <cmath>
#include <stdexcept>

namespace vexo::playlists {

namespace {

constexpr std::string_view kInfoTag = "#EXTINF:";
constexpr std::string_view kProtection = "./";
constexpr std::string_view kArtistEnd = " - ";

bool NeedsProtection(std::string_view path) {
  while (path.starts_with(kProtection)) {
    path.remove_prefix(kProtection.size());
  }
  return path.starts_with('#') || WithoutBlanksBefore(path).size() < path.size();
}

/// The first comma that is not part of a quoted attribute value.
std::size_t TitleComma(std::string_view info) {
  bool quoted = false;
  for (std::size_t i = 0; i < info.size(); ++i) {
    if (info[i] == '"') {
      quoted = !quoted;
    } else if (info[i] == ',' && !quoted) {
      return i;
    }
  }
  return info.find(',');
}

/// Its control characters, from position `begin` on, become blanks.
void PutInOneLine(std::string &text, std::size_t begin) {
  std::replace_if(
      text.begin() + static_cast<std::ptrdiff_t>(begin), text.end(),
      [](char c) { return static_cast<unsigned char>(c) < 32; }, ' ');
}

/// Appends what can be read of a song's text, in one line.
void AppendReadable(std::string &text, std::string_view bytes) {
  const std::size_t begin = text.size();
  if (text::IsUtf8(bytes)) { // as nearly all texts are: they need no copy
    text.append(bytes);
  } else {
    text.append(system::ReadableText(bytes));
  }
  PutInOneLine(text, begin);
}

/// The seconds of a tag; -1 stands for a length that is not known.
long WholeSeconds(float seconds) {
  return seconds > 0 && seconds < 1e9F ? std::max(1L, std::lround(seconds)) : -1;
}

void AppendInfo(std::string &text, const NewEntry &song) {
  const long seconds = WholeSeconds(song.duration_seconds);
  if (song.artist.empty() && song.title.empty() && seconds < 0) {
    return;
  }
  text.append(kInfoTag).append(std::to_string(seconds)).append(",");
  if (!song.artist.empty()) {
    AppendReadable(text, song.artist);
    text.append(kArtistEnd);
  }
  AppendReadable(text, song.title);
  text.append("\n");
}

/// Calls `visit` with each entry, in order.
template <typename Visit> void ForEachEntry(std::string_view content, Visit visit) {
  constexpr std::size_t kNoTag = std::string_view::npos;
  LineReader lines(content);
  std::size_t tag_begin = kNoTag;
  std::string_view info;
  while (const auto line = lines.Next()) {
    if (line->text.empty() || IsTooLongForPath(line->text)) {
      continue;
    }
    if (line->text.starts_with(kInfoTag)) {
      tag_begin = std::min(tag_begin, line->begin);
      info = line->text.substr(kInfoTag.size());
    } else if (line->text.front() != '#') {
      visit(M3uEntry{std::min(tag_begin, line->begin), line->begin, line->end, line->text, info});
      tag_begin = kNoTag;
      info = {};
    }
  }
}

void AddPiece(files::Pieces &pieces, std::string_view piece) {
  if (!piece.empty()) {
    pieces.push_back(piece);
  }
}

/// The lines of [begin, end) but those of #EXTINF tags.
void AddWithoutInfo(files::Pieces &pieces, std::string_view content, std::size_t begin,
                    std::size_t end) {
  LineReader lines(content.substr(0, end), begin);
  while (const auto line = lines.Next()) {
    if (!line->text.starts_with(kInfoTag)) {
      AddPiece(pieces, content.substr(line->begin, line->end - line->begin));
    }
  }
}

/// What stands between `position` and an entry that goes, and those lines between its tag and its
/// path that are not its own. Gives the position behind the entry.
std::size_t AddUpTo(files::Pieces &pieces, std::string_view content, std::size_t position,
                    const M3uEntry &entry) {
  AddPiece(pieces, content.substr(position, entry.begin - position));
  if (entry.begin != entry.path_line) {
    AddWithoutInfo(pieces, content, entry.begin, entry.path_line);
  }
  return entry.end;
}

/// `text` behind `before`, which may lack the end of its last line, or its head.
void AddText(files::Pieces &pieces, std::string_view before, std::string_view text) {
  if (text.empty()) {
    return;
  }
  if (before.empty()) {
    pieces.push_back(kM3uHead);
  } else if (before != kByteOrderMark && !before.ends_with('\n')) {
    pieces.emplace_back("\n");
  }
  pieces.push_back(text);
}

} // namespace

std::vector<M3uEntry> ParseM3u(std::string_view content) {
  std::vector<M3uEntry> entries;
  ForEachEntry(content, [&](const M3uEntry &entry) {
    RequireRoom(entries.size() + 1);
    entries.push_back(entry);
  });
  return entries;
}

std::size_t MostM3uEntries(std::string_view content) {
  constexpr std::size_t kBlock = 64; // a number that is known lets the compiler count many at once
  std::size_t count = 1;
  const auto begins_one = [&](std::size_t i) {
    return static_cast<unsigned>(content[i] == '\n') & static_cast<unsigned>(content[i + 1] != '#');
  };
  std::size_t position = 0;
  for (; position + kBlock < content.size(); position += kBlock) {
    unsigned char lines = 0;
    for (std::size_t i = 0; i < kBlock; ++i) {
      lines = static_cast<unsigned char>(lines + begins_one(position + i));
    }
    count += lines;
  }
  for (; position + 1 < content.size(); ++position) {
    count += begins_one(position);
  }
  return count;
}

std::size_t CountM3uEntries(std::string_view content) {
  // As ForEachEntry() has them. Half of the lines are tags, which are told by their first byte.
  std::size_t count = 0;
  while (!content.empty()) {
    const std::string_view line = content.substr(0, content.find('\n'));
    if (!line.starts_with('#')) {
      const std::string_view text = TextOfLine(line);
      count += !text.empty() && text.front() != '#' && !IsTooLongForPath(text) ? 1 : 0;
    }
    content.remove_prefix(std::min(line.size() + 1, content.size()));
  }
  return count;
}

std::string_view UnprotectPath(std::string_view text) {
  if (text.starts_with(kProtection) && NeedsProtection(text)) {
    text.remove_prefix(kProtection.size());
  }
  return text;
}

M3uInfo ParseM3uInfo(std::string_view info) {
  M3uInfo parsed;
  const std::size_t comma = TitleComma(info);
  parsed.duration_seconds = text::ParseSeconds(info.substr(0, comma));
  if (comma == std::string_view::npos) {
    return parsed;
  }
  parsed.title = info.substr(comma + 1);
  const std::size_t artist_end = parsed.title.find(kArtistEnd);
  if (artist_end != std::string_view::npos) {
    parsed.artist = parsed.title.substr(0, artist_end);
    parsed.title.remove_prefix(artist_end + kArtistEnd.size());
  }
  return parsed;
}

void AppendM3uEntry(std::string &text, const NewEntry &song) {
  const std::string_view path = song.path;
  if (path.empty()) {
    return;
  }
  if (path.find('\n') != std::string_view::npos || path.find('\r') != std::string_view::npos) {
    std::string told = "a song's path holds a line break: " + std::string(path);
    PutInOneLine(told, 0);
    throw std::invalid_argument(told);
  }
  AppendInfo(text, song);
  text.append(NeedsProtection(path) ? kProtection : "").append(path).append("\n");
}

std::string M3uEntries(std::span<const NewEntry> songs) {
  std::string text;
  std::size_t written = 0;
  for (const NewEntry &song : songs) {
    RequireRoom(written += song.path.empty() ? 0 : 1);
    AppendM3uEntry(text, song);
  }
  return text;
}

files::Pieces AppendedM3u(std::string_view content, std::string_view text) {
  files::Pieces pieces;
  AddPiece(pieces, content);
  AddText(pieces, content, text);
  return pieces;
}

files::Pieces SplicedM3u(std::string_view content, const std::vector<M3uEntry> &entries,
                         std::size_t first, std::size_t last, std::string_view text) {
  std::size_t position = first < entries.size() ? entries[first].begin : content.size();
  files::Pieces pieces = AppendedM3u(content.substr(0, position), text);
  for (std::size_t i = first; i < last; ++i) {
    position = AddUpTo(pieces, content, position, entries[i]);
  }
  AddPiece(pieces, content.substr(position));
  return pieces;
}

files::Pieces ReducedM3u(std::string_view content, const std::vector<M3uEntry> &entries,
                         const std::vector<std::size_t> &positions) {
  files::Pieces pieces;
  std::size_t position = 0;
  for (const std::size_t i : positions) {
    position = AddUpTo(pieces, content, position, entries[i]);
  }
  AddPiece(pieces, content.substr(position));
  return pieces;
}

} // namespace vexo::playlists
