#pragma once
// What the daemon answers: one JSON object, small enough to cross the socket in one piece, as the
// client reads once.

#include "vexoaudiod/mpd_controls.h"
#include "vexoaudiod/queue_entry.h"
#include <cstddef>
#include <string>
#include <vector>

namespace vexo::audiod {

/// So many entries a client may ask for and be sure to get all of them, or an error.
inline constexpr std::size_t kEntriesAlways = 5;

std::string ErrorReply(const std::string &reason);

/// The answer to a request for a queue that cannot be told. Its total of -1 is what keeps a client
/// from taking it for an empty queue.
std::string QueueErrorReply(const std::string &reason);

/// The player itself will not do it, as to seek while it stands still.
std::string RefusedReply(const std::string &reason);

std::string SelectedReply(int player);

std::string StatusReply(const PlayerStatus &status);

std::string LoadReply(const LoadResult &result);

/// Entries of a queue of `total`. Texts are cut, to the length that a song record holds and, where
/// the page would be too long, further; paths never are. Beyond kEntriesAlways, entries that do not
/// fit are left for the next page. An error reply, when the paths alone do not fit.
std::string QueueReply(const std::vector<QueueEntry> &entries, unsigned total);

} // namespace vexo::audiod
