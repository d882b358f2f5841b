// Playlist files of any format and encoding. What an edit makes is read with the entries that it
// should have, and is UTF-16 no more.
#include "playlists/playlist_content.h"
#include "files/file_io.h"
#include "fuzz/edits.h"
#include "playlists/playlist_text.h"
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

using namespace vexo::playlists;

namespace {

using Paths = std::vector<std::string>;

Paths PathsIn(std::string_view bytes, const std::string &name) {
  PlaylistContent content(bytes, name);
  Paths paths;
  for (std::size_t i = 0; i < content.size(); ++i) {
    paths.emplace_back(content.At(i).path);
  }
  return paths;
}

/// Whether a line in the middle of PLS that has no head would tell of M3U once it came first.
bool MayChangeFormat(std::string_view bytes) {
  const std::string text = FromUtf16(bytes).value_or(std::string(bytes));
  return text.find("#EXTM3U") != text.rfind("#EXTM3U");
}

void CheckEdits(std::string_view bytes, const std::string &name, std::size_t choice) {
  const Paths before = PathsIn(bytes, name);
  PlaylistContent content(bytes, name);
  Paths appended = before;
  appended.emplace_back("/new");
  Require(PathsIn(Text(content.Appended("/new\n")), name) == appended);
  if (before.empty()) {
    return;
  }
  const std::size_t position = choice % before.size();
  Paths replaced = before;
  replaced[position] = "/new";
  Require(PathsIn(Text(content.Spliced(position, position + 1, "/new\n")), name) == replaced);
  Paths reduced = before;
  reduced.erase(reduced.begin() + static_cast<std::ptrdiff_t>(position));
  Require(PathsIn(Text(content.Reduced({position})), name) == reduced);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  const std::string_view bytes(reinterpret_cast<const char *>(data), size);
  if (size == 0) {
    return 0;
  }
  const std::string name = data[size - 1] % 2 == 0 ? "/list.m3u" : "/list.pls";
  try {
    if (!MayChangeFormat(bytes)) {
      CheckEdits(bytes, name, data[size - 1]);
    }
  } catch (const UnreadableError &) {
    return 0;
  }
  return 0;
}
