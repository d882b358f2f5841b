// VexoAudioUtils::SmartPLSListSongs of vexo/audio_file.h.

#include "index/media_index.h"
#include "index/records.h"
#include "smart/rule_file.h"
#include "smart/rule_query.h"
#include "smart/smart_playlist.h"
#include "system/boundary.h"
#include "system/host_paths.h"
#include "vexo/audio_file.h"
#include <algorithm>
#include <ctime>
#include <stdexcept>

namespace {

using namespace vexo;

/// Positions [begin, end) of a list; no end when nothing bounds it.
struct Window {
  int64_t begin = 0;
  std::optional<int64_t> end;
};

Window MakeWindow(int offset, int limit, std::optional<int64_t> list_limit) {
  if (offset < 0 || limit < 0) {
    throw std::invalid_argument("a negative offset or limit");
  }
  Window window{offset, list_limit};
  if (limit > 0) {
    const int64_t end = int64_t{offset} + limit;
    window.end = std::min(end, list_limit.value_or(end));
  }
  return window;
}

std::vector<index::Song> FindSongs(const smart::SmartPlaylist &playlist, const Window &window,
                                   const std::string &file) {
  if (window.end && *window.end <= window.begin) {
    return {};
  }
  const smart::Viewer viewer = smart::FindViewer(file);
  index::SongQuery query = smart::MakeQuery(playlist, std::time(nullptr));
  query.with_shared = viewer.with_shared;
  query.limit = window.end.value_or(0);
  return index::ProcessIndex().QuerySongs(viewer.owner, query);
}

std::list<__tag_VEXO_MEDIA_INFO> MakeRecords(const std::vector<index::Song> &songs,
                                             const Window &window) {
  std::list<__tag_VEXO_MEDIA_INFO> records;
  for (std::size_t i = static_cast<std::size_t>(window.begin); i < songs.size(); ++i) {
    index::FillRecord(records.emplace_back(), songs[i]);
  }
  return records;
}

} // namespace

int VexoAudioUtils::SmartPLSListSongs(const char *name, int offset, int limit, int *count,
                                      std::list<__tag_VEXO_MEDIA_INFO> &songs,
                                      const char *rulesFile, [[maybe_unused]] bool refresh) {
  return system::Guarded("SmartPLSListSongs", -1, [&] {
    if (name == nullptr) {
      throw std::invalid_argument("no name");
    }
    const std::string file = rulesFile == nullptr ? system::kSharedSmartRules : rulesFile;
    const auto source = smart::FindPlaylist(file, name);
    if (!source) {
      return -1;
    }
    const Window window = MakeWindow(offset, limit, source->playlist.limit);
    auto records = MakeRecords(FindSongs(source->playlist, window, file), window);
    if (count != nullptr) {
      *count = static_cast<int>(records.size());
    }
    songs.splice(songs.end(), records);
    return 0;
  });
}
