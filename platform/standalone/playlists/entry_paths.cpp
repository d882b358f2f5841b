#include "playlists/entry_paths.h"
#include "accounts/libraries.h"
#include "playlists/m3u.h"
#include "system/host_encoding.h"
#include "text/utf8.h"
#include <algorithm>
#include <charconv>
#include <filesystem>
#include <stdexcept>
#include <strings.h>

namespace vexo::playlists {

namespace {

using State = LibraryFiles::State;

bool IsSchemeCharacter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '+' ||
         c == '-' || c == '.';
}

std::string FolderOf(const std::string &path) {
  const std::size_t slash = path.rfind('/');
  return slash == std::string::npos ? "" : path.substr(0, slash);
}

bool StartsWithIgnoringCase(std::string_view text, std::string_view start) {
  return text.size() >= start.size() && strncasecmp(text.data(), start.data(), start.size()) == 0;
}

/// Without percent-escapes (RFC 3986, section 2.1).
std::string Unescaped(std::string_view text) {
  constexpr std::size_t kEscapeBytes = 3;
  std::string plain;
  while (!text.empty()) {
    unsigned char byte = 0;
    const char *const digits_end = text.data() + std::min(text.size(), kEscapeBytes);
    const bool is_escape =
        text.size() >= kEscapeBytes && text.front() == '%' &&
        std::from_chars(text.data() + 1, digits_end, byte, 16).ptr == digits_end && byte != 0;
    plain += is_escape ? static_cast<char>(byte) : text.front();
    text.remove_prefix(is_escape ? kEscapeBytes : 1);
  }
  return plain;
}

/// Whether a path begins with a drive's letter: no path of this machine.
bool IsDrivePath(std::string_view path) {
  return path.size() >= 3 && path[1] == ':' && (path[2] == '\\' || path[2] == '/') &&
         ((path[0] >= 'a' && path[0] <= 'z') || (path[0] >= 'A' && path[0] <= 'Z'));
}

/// `path` itself, and as text of the host's code page when it is not UTF-8.
std::vector<std::string> Texts(std::string_view path) {
  std::vector<std::string> texts{std::string(path)};
  if (!text::IsUtf8(path)) {
    if (auto decoded = system::FromHostCodePage(path)) {
      texts.push_back(*std::move(decoded));
    }
  }
  return texts;
}

std::string WithSlashes(std::string path) {
  std::replace(path.begin(), path.end(), '\\', '/');
  return path;
}

[[noreturn]] void ThrowLibraryAway(std::string_view entry) {
  throw std::runtime_error("the library of a song is not there, empty or not readable: " +
                           std::string(entry));
}

} // namespace

bool IsStreamAddress(std::string_view entry) {
  const std::size_t colon = entry.find("://");
  return colon != std::string_view::npos && colon > 0 &&
         std::all_of(entry.begin(), entry.begin() + static_cast<std::ptrdiff_t>(colon),
                     IsSchemeCharacter);
}

bool IsFileAddress(std::string_view entry) { return StartsWithIgnoringCase(entry, "file:"); }

std::optional<std::string> PathOfFileAddress(std::string_view entry) {
  for (const std::string_view start : {"file://localhost/", "file:///", "file:/"}) {
    if (StartsWithIgnoringCase(entry, start)) {
      entry.remove_prefix(start.size() - 1);
      return entry.starts_with("//") ? std::nullopt : std::optional(Unescaped(entry));
    }
  }
  return std::nullopt;
}

LibraryFiles &EntryPaths::Files() {
  if (!files_) {
    files_.emplace();
  }
  return *files_;
}

const EntryPaths::Bases &EntryPaths::KnownBases() {
  if (bases_) {
    return *bases_;
  }
  bases_ = Bases{FolderOf(playlist_path_), accounts::SharedLibraryFolder().value_or("")};
  const auto real_folder = accounts::RealPath(bases_->folder + "/");
  for (const LibraryFiles::Library &library : Files().libraries()) {
    if (real_folder && !library.real.empty() && accounts::IsWithin(*real_folder, library.real)) {
      bases_->folder = library.named + real_folder->substr(library.real.size());
      bases_->root = library.named;
      break;
    }
  }
  return *bases_;
}

/// Below the playlist's folder, and below the library's root; an absolute path stays.
EntryPaths::Reading EntryPaths::Joined(const std::vector<std::string> &texts) {
  if (texts.front().starts_with('/')) {
    return texts;
  }
  Reading paths;
  for (const std::filesystem::path base : {KnownBases().folder, KnownBases().root}) {
    for (const std::string &text : texts) {
      if (!base.empty()) {
        paths.push_back((base / text).lexically_normal().string());
      }
    }
  }
  return paths;
}

std::vector<EntryPaths::Reading> EntryPaths::Readings(std::string_view entry) {
  if (const auto file = PathOfFileAddress(entry)) {
    return {Texts(*file)};
  }
  if (IsStreamAddress(entry)) {
    return {};
  }
  const std::vector<std::string> texts = Texts(UnprotectPath(entry));
  std::vector<Reading> readings{Joined(texts)};
  if (IsDrivePath(texts.front())) {
    readings.emplace_back();
  } else if (texts.back().find('\\') != std::string::npos) {
    readings.push_back(Joined({WithSlashes(texts.back())}));
  }
  return readings;
}

std::optional<std::string> EntryPaths::FirstThere(std::string_view entry) {
  for (Reading &reading : Readings(entry)) {
    for (std::string &path : reading) {
      if (Files().StateOf(path) == State::kThere) {
        return std::move(path);
      }
    }
  }
  return std::nullopt;
}

std::string EntryPaths::Resolve(std::string_view entry) {
  const std::string_view path = UnprotectPath(entry);
  const bool is_utf8 = text::IsUtf8(path);
  const bool is_plain = path.starts_with('/') && path.find('\\') == std::string_view::npos;
  if (!is_utf8 || !is_plain) {
    if (auto there = FirstThere(entry)) {
      return *std::move(there);
    }
  }
  return is_utf8 ? std::string(path) : system::FromHostCodePage(path).value_or(std::string(path));
}

bool EntryPaths::NamesFile(std::string_view entry) { return FirstThere(entry).has_value(); }

bool EntryPaths::IsGone(const Reading &reading) {
  bool is_inside = false;
  for (const std::string &path : reading) {
    const State state = Files().StateOf(path);
    if (state == State::kAway) {
      ThrowLibraryAway(path);
    }
    if (state != State::kGone && state != State::kOutside) {
      return false;
    }
    is_inside = is_inside || state == State::kGone;
  }
  return is_inside;
}

bool EntryPaths::IsGone(std::string_view entry) {
  const std::vector<Reading> readings = Readings(entry);
  return !readings.empty() && std::all_of(readings.begin(), readings.end(),
                                          [this](const Reading &r) { return IsGone(r); });
}

void EntryPaths::RequireSameLibraries() {
  if (!Files().AreLibrariesTheSame()) {
    ThrowLibraryAway(playlist_path_);
  }
}

} // namespace vexo::playlists
