#include "playlists/pls.h"
#include "playlists/line_reader.h"
#include "playlists/m3u.h"
#include "playlists/seconds.h"
#include <algorithm>
#include <charconv>
#include <map>
#include <stdexcept>
#include <string>
#include <strings.h>

namespace vexo::playlists {

namespace {

bool EqualIgnoringCase(std::string_view text, std::string_view word) {
  return text.size() == word.size() && strncasecmp(text.data(), word.data(), word.size()) == 0;
}

std::string_view WithoutBlanksBehind(std::string_view text) {
  return text.substr(0, text.find_last_not_of(" \t") + 1);
}

/// The number behind `word` in a key such as "File12"; 0 when it is another key.
uint32_t NumberOfKey(std::string_view key, std::string_view word) {
  if (!EqualIgnoringCase(key.substr(0, word.size()), word)) {
    return 0;
  }
  key.remove_prefix(word.size());
  uint32_t number = 0;
  const auto [stop, error] = std::from_chars(key.data(), key.data() + key.size(), number);
  return error == std::errc() && stop == key.data() + key.size() ? number : 0;
}

using Entries = std::map<uint32_t, PlsEntry>;

void TakeLine(Entries &entries, std::string_view line) {
  const std::size_t equals = line.find('=');
  if (equals == std::string_view::npos) {
    return;
  }
  const std::string_view key = WithoutBlanksBehind(line.substr(0, equals));
  const std::string_view value = WithoutBlanksBefore(line.substr(equals + 1));
  if (const uint32_t file = NumberOfKey(key, "file")) {
    entries[file].path = value;
  } else if (const uint32_t title = NumberOfKey(key, "title")) {
    entries[title].title = value;
  } else if (const uint32_t length = NumberOfKey(key, "length")) {
    entries[length].duration_seconds = ParseSeconds(value);
  }
}

} // namespace

bool IsPls(std::string_view content) {
  LineReader lines(content);
  while (const auto line = lines.Next()) {
    if (!line->text.empty()) {
      return EqualIgnoringCase(WithoutBlanksBehind(line->text), "[playlist]");
    }
  }
  return false;
}

std::vector<PlsEntry> ParsePls(std::string_view content) {
  Entries entries;
  LineReader lines(content);
  while (const auto line = lines.Next()) {
    TakeLine(entries, line->text);
    if (entries.size() > kMaxEntries) {
      throw std::length_error("more than " + std::to_string(kMaxEntries) + " entries");
    }
  }
  std::vector<PlsEntry> found;
  for (const auto &[number, entry] : entries) {
    if (!entry.path.empty()) {
      found.push_back(entry);
    }
  }
  return found;
}

} // namespace vexo::playlists
