// M3U files of anybody, and edits of them. An edit changes what it names and no other byte:
// inserting a song and removing it again gives the file back, and what is written reads the same.
#include "playlists/m3u.h"
#include "files/file_io.h"
#include "fuzz/edits.h"
#include <cstdint>
#include <string>
#include <string_view>

using namespace vexo::playlists;

namespace {

/// Whether a tag without a path stands at the end. It becomes that of the next song.
bool EndsWithTag(std::string_view content, const std::vector<M3uEntry> &entries) {
  const std::size_t end = entries.empty() ? 0 : entries.back().end;
  return content.substr(end).find("#EXTINF:") != std::string_view::npos;
}

void CheckInsertion(std::string_view content, const std::vector<M3uEntry> &entries,
                    std::size_t position) {
  const std::string text = "#EXTINF:1,new\n/new\n";
  const std::string inserted = Text(SplicedM3u(content, entries, position, position, text));
  const std::vector<M3uEntry> after = ParseM3u(inserted);
  Require(after.size() == entries.size() + 1 && after[position].path == "/new");
  const std::string removed = Text(ReducedM3u(inserted, after, {position}));
  if (position == entries.size() && EndsWithTag(content, entries)) {
    return;
  }
  // A head or the end of the last line may have been added.
  Require(removed == content || removed == std::string(content) + "\n" ||
          removed == std::string(kM3uHead) + std::string(content));
}

void CheckRemoval(std::string_view content, const std::vector<M3uEntry> &entries,
                  std::size_t position) {
  const std::string removed = Text(ReducedM3u(content, entries, {position}));
  const std::vector<M3uEntry> after = ParseM3u(removed);
  Require(after.size() + 1 == entries.size());
  for (std::size_t i = 0; i < after.size(); ++i) {
    const M3uEntry &before = entries[i < position ? i : i + 1];
    Require(after[i].path == before.path && after[i].info == before.info);
  }
}

void CheckRoundTrip(std::string_view path) {
  if (path.find('\0') != std::string_view::npos || path.find('\r') != std::string_view::npos) {
    return;
  }
  std::string text(kM3uHead);
  AppendM3uEntry(text, {.path = path});
  const std::vector<M3uEntry> entries = ParseM3u(text);
  Require(entries.size() == 1 && UnprotectPath(entries[0].path) == path);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, std::size_t size) {
  const std::string_view content(reinterpret_cast<const char *>(data), size);
  const std::vector<M3uEntry> entries = ParseM3u(content);
  for (const M3uEntry &entry : entries) {
    (void)ParseM3uInfo(entry.info);
    CheckRoundTrip(UnprotectPath(entry.path));
  }
  if (!entries.empty()) {
    const std::size_t position = data[size - 1] % entries.size();
    CheckInsertion(content, entries, position);
    CheckRemoval(content, entries, position);
  }
  CheckInsertion(content, entries, entries.size());
  return 0;
}
