// What a player daemon may say: the input is its replies, parted by NULs, the last one again and
// again. Any bytes give a list within bounds, or a failure with a line in the system log.

#include "model/song_json.h"
#include "player/info.h"
#include "player/queue.h"
#include "player/queue_page.h"
#include "recording_platform/recording_host.h"
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string_view>

namespace {

constexpr int kMostPages = 200;

std::string_view replies;
int pages_left = 0;

void Require(bool holds) {
  if (!holds) {
    std::abort();
  }
}

std::string_view NextReply() {
  const std::size_t end = replies.find('\0');
  const std::string_view reply = replies.substr(0, end);
  if (end != std::string_view::npos) {
    replies.remove_prefix(end + 1);
  }
  return reply;
}

/// The buffer may end where the reply ends, without a terminator.
void ReadUnterminated(std::string_view reply) {
  const auto bytes = std::make_unique<char[]>(reply.size());
  reply.copy(bytes.get(), reply.size());
  const std::optional<QueuePage> page = QueuePageParse(bytes.get(), reply.size());
  Require(!page.has_value() || (page->total >= 0 && page->total <= kQueueEntriesMax));
}

} // namespace

// In the place of the commands that would ask a daemon.
int PlayerTargetSelect(int /*player*/) { return 0; }

int PlayerQueueGet(int offset, int limit, char *reply, int reply_size) {
  Require(offset >= 0 && limit >= 1 && limit <= 5 && reply_size == 40960);
  if (pages_left-- == 0) {
    return -1;
  }
  const std::string_view text = NextReply();
  memset(reply, 0, static_cast<std::size_t>(reply_size));
  text.copy(reply, static_cast<std::size_t>(reply_size));
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, std::size_t size) {
  recording::ResetHost();
  replies = {reinterpret_cast<const char *>(data), size};
  ReadUnterminated(replies);
  pages_left = kMostPages;
  VEXOPlaylistRec *head = nullptr;
  WebMan request;
  const int total = LoadPlayerQueue(request, "0", &head);
  SongList songs(head);
  Require(total >= -1 && total <= kQueueEntriesMax);
  Require((total == -1) == !recording::TheHost().log.empty());
  return 0;
}
