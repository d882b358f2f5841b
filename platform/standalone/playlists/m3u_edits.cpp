#include "playlists/m3u_edits.h"
#include "playlists/entry_paths.h"
#include "playlists/missing_files.h"
#include "playlists/positions.h"
#include "system/admin_log.h"
#include "system/log.h"
#include <algorithm>
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

std::vector<std::size_t> MissingPositions(const std::vector<M3uEntry> &entries,
                                          const std::string &playlist) {
  EntryPaths paths(playlist);
  MissingFiles missing;
  std::vector<std::size_t> positions;
  for (std::size_t i = 0; i < entries.size(); ++i) {
    const std::string_view text = entries[i].path;
    if (!IsStreamAddress(text) && missing.AreGone(paths.Candidates(text))) {
      positions.push_back(i);
    }
  }
  missing.RequireSameLibraries();
  return positions;
}

} // namespace

Change Appending(std::span<const NewEntry> songs) {
  return [text = M3uEntries(songs)](std::string_view content, const std::string &) {
    return text.empty() ? std::nullopt : std::optional(AppendedM3u(content, text));
  };
}

Change Splicing(std::span<const NewEntry> songs, long start, long limit) {
  return
      [text = M3uEntries(songs), first = RequireNotNegative(start, "start"),
       length = RequireNotNegative(limit, "limit")](std::string_view content, const std::string &) {
        const std::vector<M3uEntry> entries = ParseM3u(content);
        if (first > entries.size()) {
          throw std::invalid_argument("start lies beyond the list's " +
                                      std::to_string(entries.size()) + " entries");
        }
        const std::size_t last = first + std::min(length, entries.size() - first);
        return std::optional(SplicedM3u(content, entries, first, last, text));
      };
}

Change Replacing(std::span<const NewEntry> songs) {
  return [text = M3uEntries(songs)](std::string_view content, const std::string &) {
    const std::vector<M3uEntry> entries = ParseM3u(content);
    return std::optional(SplicedM3u(content, entries, 0, entries.size(), text));
  };
}

Change Removing(std::string positions) {
  return [text = std::move(positions)](std::string_view content, const std::string &) {
    const std::vector<M3uEntry> entries = ParseM3u(content);
    return std::optional(ReducedM3u(content, entries, ParsePositions(text, entries.size())));
  };
}

Change RemovingMissing(RemovedSongs &removed) {
  return [&removed](std::string_view content,
                    const std::string &path) -> std::optional<files::Pieces> {
    removed = {path, {}};
    const std::vector<M3uEntry> entries = ParseM3u(content);
    const std::vector<std::size_t> positions = MissingPositions(entries, path);
    for (const std::size_t position : positions) {
      removed.entries.emplace_back(UnprotectPath(entries[position].path));
    }
    return positions.empty() ? std::nullopt
                             : std::optional(ReducedM3u(content, entries, positions));
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

bool ChangeFile(const std::string &path, const Change &change) {
  return files::EditPiecesDurably(path,
                                  [&](std::string_view content) { return change(content, path); });
}

} // namespace vexo::playlists
