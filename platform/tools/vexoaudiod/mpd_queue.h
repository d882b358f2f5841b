#pragma once
// The queue of one MPD.

#include "vexoaudiod/mpd_connection.h"
#include "vexoaudiod/queue_entry.h"
#include <memory>
#include <vector>

namespace vexo::audiod {

struct QueuePart {
  unsigned total = 0; ///< entries of the whole queue, of the same moment as `entries`
  std::vector<QueueEntry> entries;
};

/// Up to `limit` entries from `offset` on; none when the queue ends before. Throws MpdError.
QueuePart FetchQueue(MpdConnection &mpd, unsigned offset, unsigned limit);

// Parts of a conversation whose command list begins with "status", and ends with what tells songs.

struct FreeStatus {
  void operator()(mpd_status *status) const { mpd_status_free(status); }
};
using Status = std::unique_ptr<mpd_status, FreeStatus>;

Status ReceiveStatus(MpdConnection &mpd);
/// The songs, `limit` at most, and the end of the answer. A stretch of the queue that lies beyond
/// its end has none.
std::vector<QueueEntry> ReceiveEntries(MpdConnection &mpd, unsigned limit);

} // namespace vexo::audiod
