#include "playlists/playlist_edits.h"
#include "accounts/libraries.h"
#include "files/edit_file.h"
#include "files/file_io.h"
#include "playlists/entry_paths.h"
#include "playlists/playlist_content.h"
#include "playlists/playlist_text.h"
#include "system/admin_log.h"
#include "system/log.h"
#include "text/numbers.h"
#include <algorithm>
#include <memory>
#include <stdexcept>
#include <utility>

namespace vexo::playlists {

namespace {

constexpr unsigned kMissingRemovedEvent = 0x13200004;

std::size_t RequireNotNegative(long number, const char *name) {
  if (number < 0) {
    throw std::invalid_argument(std::string(name) + " is negative: " + std::to_string(number));
  }
  return static_cast<std::size_t>(number);
}

/// The content that an edit works on, kept until the edit is made again or forgotten.
class KeptContent {
public:
  PlaylistContent &Read(std::string_view bytes, const std::string &path) {
    content_ = std::make_shared<PlaylistContent>(bytes, path);
    return *content_;
  }

private:
  std::shared_ptr<PlaylistContent> content_;
};

std::vector<std::size_t> MissingPositions(PlaylistContent &content, const std::string &playlist) {
  if (!accounts::SharedLibraryFolder()) {
    throw std::runtime_error("the shared library is not there");
  }
  EntryPaths paths(playlist);
  std::vector<std::size_t> positions;
  for (std::size_t i = 0; i < content.size(); ++i) {
    if (paths.IsGone(content.At(i).path)) {
      positions.push_back(i);
    }
  }
  paths.RequireSameLibraries();
  return positions;
}

} // namespace

files::Edit Appending(std::span<const NewEntry> songs) {
  return [text = M3uEntries(songs), kept = KeptContent()](std::string_view bytes,
                                                          const std::string &path) mutable {
    return text.empty() ? std::nullopt : std::optional(kept.Read(bytes, path).Appended(text));
  };
}

files::Edit Splicing(std::span<const NewEntry> songs, long start, long limit) {
  return [text = M3uEntries(songs), first = RequireNotNegative(start, "start"),
          length = RequireNotNegative(limit, "limit"),
          kept = KeptContent()](std::string_view bytes, const std::string &path) mutable {
    PlaylistContent &content = kept.Read(bytes, path);
    if (first > content.size()) {
      throw std::invalid_argument("start lies beyond the list's " + std::to_string(content.size()) +
                                  " entries");
    }
    const std::size_t last = first + std::min(length, content.size() - first);
    return std::optional(content.Spliced(first, last, text));
  };
}

files::Edit Replacing(std::span<const NewEntry> songs) {
  return [text = M3uEntries(songs), edited = std::string(),
          kept = KeptContent()](std::string_view bytes, const std::string &path) mutable {
    try {
      if (bytes.empty()) {
        return std::optional(NewPlaylist(path, text, edited));
      }
      PlaylistContent &content = kept.Read(bytes, path);
      return std::optional(content.Spliced(0, content.size(), text));
    } catch (const UnreadableError &) {
      return std::optional(NewPlaylist(path, text, edited));
    }
  };
}

files::Edit Removing(std::string positions) {
  return [text = std::move(positions), kept = KeptContent()](std::string_view bytes,
                                                             const std::string &path) mutable {
    PlaylistContent &content = kept.Read(bytes, path);
    return std::optional(content.Reduced(text::ParsePositions(text, content.size())));
  };
}

files::Edit RemovingMissing(RemovedSongs &removed) {
  return [&removed,
          kept = KeptContent()](std::string_view bytes,
                                const std::string &path) mutable -> std::optional<files::Pieces> {
    removed = {path, {}};
    PlaylistContent &content = kept.Read(bytes, path);
    const std::vector<std::size_t> positions = MissingPositions(content, path);
    for (const std::size_t position : positions) {
      removed.entries.emplace_back(UnprotectPath(content.At(position).path));
    }
    return positions.empty() ? std::nullopt : std::optional(content.Reduced(positions));
  };
}

void LogRemovedSongs(const RemovedSongs &removed) noexcept {
  try {
    for (const std::string &entry : removed.entries) {
      system::AppendAdminLog(kMissingRemovedEvent,
                             {"remove missing song", removed.playlist, entry});
    }
  } catch (const std::exception &error) {
    system::LogFailure("administrative log of removed songs", error.what());
  }
}

} // namespace vexo::playlists
