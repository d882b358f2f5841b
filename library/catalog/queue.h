#pragma once
// A user's own queue: what plays in the browser, and what another device goes on with. It lies in
// the preference folder, as PLS with keys of ours that readers of PLS pass over; a copy lies in the
// folder for temporary files, where "addplaying" finds it.

#include "accounts/accounts.h"
#include "catalog/list_entries.h"
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace vexo::catalog {

/// Where a device is in the queue.
struct QueuePlace {
  std::size_t position = 0; ///< of the current entry; 0 in an empty queue
  double elapsed_seconds = 0;
  int64_t updated = 0; ///< when it was written, in seconds since 1970; 0: never

  friend bool operator==(const QueuePlace &, const QueuePlace &) = default;
};

/// An entry to write: the path of a song, or an address; an empty one for what is missing.
struct QueueEntry {
  std::string path, artist, title;
  double duration_seconds = 0; ///< 0: not known
};

struct Queue {
  std::string version; ///< see playlists/version.h
  QueuePlace place;
  std::size_t size = 0;
  std::vector<ListEntry> entries; ///< those that were asked for
};

/// The user's queue, with the entries [offset, offset + limit); an empty one where there is none,
/// or none that can be read. Puts the copy back where that has gone, as after a restart.
Queue ReadQueue(const accounts::Account &user, std::size_t offset, std::size_t limit);

enum class QueueEdit {
  kDone,
  kStale,  ///< it has a version that the client does not mean
  kBeyond, ///< the position is that of no entry
};

/// Writes place and entries; without entries, those that are there stay. No path holds a line
/// break.
QueueEdit WriteQueue(const accounts::Account &user, const QueuePlace &place,
                     const std::optional<std::vector<QueueEntry>> &entries,
                     const std::function<bool(const std::string &version)> &is_meant);

// The text of the file.

std::string FormatQueue(const std::vector<QueueEntry> &entries, const QueuePlace &place);
/// The same entries at another place.
std::string WithPlace(std::string_view text, const QueuePlace &place);
QueuePlace PlaceOf(std::string_view text);

} // namespace vexo::catalog
