#pragma once
// One page of a player's queue, as the daemon answers it: {"uris": [song, ...], "total": N}.

#include <cstddef>
#include <json/json.h>
#include <optional>

/// Most entries that a queue may have; a reply that tells of more is rejected.
inline constexpr int kQueueEntriesMax = 1'000'000;

struct QueuePage {
  Json::Value entries; ///< an array, or null when there are none
  int total = 0;       ///< entries of the whole queue, up to kQueueEntriesMax
};

/// Reads a reply of `size` bytes, which ends at its first NUL if it has one. What is no JSON object
/// is the page of an empty queue, and so is one without members. Nothing: the members are not what
/// they have to be.
std::optional<QueuePage> QueuePageParse(const char *reply, std::size_t size);
