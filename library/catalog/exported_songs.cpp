#include "catalog/exported_songs.h"
#include "accounts/libraries.h"
#include "playlists/m3u.h"
#include "playlists/playlist_content.h"
#include "text/text.h"
#include "text/utf8.h"
#include <algorithm>
#include <cmath>

namespace vexo::catalog {
namespace {

constexpr double kMilliseconds = 1000;

bool HoldsLineBreak(const ExportedSong &song) {
  return song.location.find_first_of("\r\n") != std::string::npos;
}

/// The songs that lines can hold, as views.
std::vector<playlists::NewEntry> Lines(const std::vector<ExportedSong> &songs) {
  std::vector<playlists::NewEntry> lines;
  for (const ExportedSong &song : songs) {
    if (!HoldsLineBreak(song)) {
      lines.push_back(
          {song.location, song.artist, song.title, static_cast<float>(song.duration_seconds)});
    }
  }
  return lines;
}

/// Whether XML 1.0 has no place for a character, however it is written.
bool IsForbiddenInXml(char32_t c) {
  constexpr char32_t kFirstNonCharacter = 0xFFFE;
  constexpr char32_t kLastNonCharacter = 0xFFFF;
  return (c < ' ' && c != '\t' && c != '\n' && c != '\r') || c == kFirstNonCharacter ||
         c == kLastNonCharacter;
}

std::string ToXml(std::string_view any_text) {
  const std::string valid = text::ToValidUtf8(std::string(any_text));
  std::string allowed;
  for (std::string_view rest = valid; !rest.empty();) {
    const text::Utf8Character character = text::DecodeUtf8(rest);
    if (!IsForbiddenInXml(character.code_point)) {
      allowed.append(rest.substr(0, character.length_bytes));
    }
    rest.remove_prefix(character.length_bytes);
  }
  return text::EscapeHtml(allowed);
}

void AppendElement(std::string &xml, std::string_view name, std::string_view value) {
  if (!value.empty()) {
    xml.append("      <").append(name).append(">").append(ToXml(value));
    xml.append("</").append(name).append(">\n");
  }
}

void AppendNumber(std::string &xml, std::string_view name, int64_t number) {
  AppendElement(xml, name, number > 0 ? std::to_string(number) : "");
}

void AppendTrack(std::string &xml, const ExportedSong &song) {
  xml.append("    <track>\n");
  AppendElement(xml, "location", UriOf(song));
  AppendElement(xml, "title", song.title);
  AppendElement(xml, "creator", song.artist);
  AppendElement(xml, "album", song.album);
  AppendNumber(xml, "trackNum", song.track);
  AppendNumber(xml, "duration", std::llround(song.duration_seconds * kMilliseconds));
  xml.append("    </track>\n");
}

} // namespace

Exporter::Exporter(const accounts::Account &user) {
  for (const Library &library : LibrariesOf(user)) {
    if (library.folder) {
      folders_.push_back(*library.folder);
      folders_.push_back(accounts::RealPath(*library.folder).value_or(*library.folder));
    }
  }
  // Of a library inside another one, the inner is where a song lies.
  std::sort(folders_.begin(), folders_.end(),
            [](const std::string &a, const std::string &b) { return a.size() > b.size(); });
}

std::string Exporter::LocationOf(std::string_view path) const {
  for (const std::string &folder : folders_) {
    if (accounts::IsWithin(path, folder) && path.size() > folder.size() + 1) {
      return std::string(path.substr(folder.size() + 1));
    }
  }
  const bool is_relative = !path.starts_with('/') && path.find('\\') == std::string_view::npos;
  return std::string(is_relative ? path : path.substr(path.find_last_of("/\\") + 1));
}

ExportedSong Exporter::Of(const index::Song &song) const {
  return {.location = LocationOf(song.path),
          .title = song.title,
          .artist = song.artist,
          .album = song.album,
          .track = song.track,
          .duration_seconds = song.duration_seconds};
}

ExportedSong Exporter::Of(const ListEntry &entry) const {
  return {.location = entry.is_stream ? entry.path : LocationOf(entry.path),
          .is_stream = entry.is_stream,
          .title = entry.title,
          .artist = entry.artist,
          .album = {},
          .duration_seconds = entry.duration_seconds};
}

std::string ToM3u(const std::vector<ExportedSong> &songs) {
  return std::string(playlists::kM3uHead) + playlists::M3uEntries(Lines(songs));
}

std::string ToPls(const std::vector<ExportedSong> &songs) {
  const std::string lines = playlists::M3uEntries(Lines(songs));
  std::string pls;
  (void)playlists::NewPlaylist("export.pls", lines, pls);
  return pls;
}

std::string ToXspf(const std::vector<ExportedSong> &songs, std::string_view title) {
  std::string xml = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                    "<playlist version=\"1\" xmlns=\"http://xspf.org/ns/0/\">\n  <title>" +
                    ToXml(title) + "</title>\n  <trackList>\n";
  for (const ExportedSong &song : songs) {
    AppendTrack(xml, song);
  }
  return xml + "  </trackList>\n</playlist>\n";
}

std::string UriOf(const ExportedSong &song) {
  // An address may hold anything that RFC 3986 lets stand in one, escapes included; the rest of
  // what people write there is escaped. In a path, only what separates folders stands for itself.
  constexpr std::string_view kInAddresses = "-._~:/?#[]@!$&'()*+,;=%";
  return text::PercentEncode(song.location, song.is_stream ? kInAddresses : "-._~/");
}

} // namespace vexo::catalog
