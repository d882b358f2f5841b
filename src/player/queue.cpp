#include "player/queue.h"

#include "model/device_paths.h"
#include "model/log_line.h"
#include "model/song_json.h"
#include "player/info.h"
#include "player/queue_page.h"
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

constexpr int kPageSize = 5;
constexpr int kReplySize = 40960;
constexpr int kUsbPlayer = -1;

int LogPlayerFailure() {
  LOG_LINE("Could not get the playlist of the player");
  return -1;
}

/// Appends the entries of a page. 0, or -1 with a log line: no memory, an entry that is no song, or
/// more entries than a queue may have, whatever the daemon's total says.
int AppendEntries(const Json::Value &entries, SongListBuilder &list) {
  for (const Json::Value &entry : entries) {
    if (list.count() >= kQueueEntriesMax) {
      return LogPlayerFailure();
    }
    VEXOPlaylistRec *node = list.AppendNew();
    if (node == nullptr) {
      return -1;
    }
    if (SongFromJson(&node->info, entry) == nullptr) {
      return LogPlayerFailure();
    }
  }
  return 0;
}

/// Fetches one page and appends its entries. The queue's total, or -1 with a log line.
int LoadPage(int offset, int size, SongListBuilder &list) {
  char reply[kReplySize];
  if (PlayerQueueGet(offset, size, reply, kReplySize) != 0) {
    return LogPlayerFailure();
  }
  const std::optional<QueuePage> page = QueuePageParse(reply, sizeof reply);
  if (!page.has_value()) {
    return LogPlayerFailure();
  }
  return AppendEntries(page->entries, list) == 0 ? page->total : -1;
}

int LoadDaemonQueue(int player, VEXOPlaylistRec **head) {
  if (PlayerTargetSelect(player) != 0) {
    return -1;
  }
  SongListBuilder list(head);
  int offset = 0;
  int size = kPageSize;
  int total = 0;
  do {
    total = LoadPage(offset, size, list);
    if (total < 0) {
      return -1;
    }
    offset += size;
    if (total < offset + size) {
      size = total - offset;
    }
  } while (total > offset);
  return total;
}

int LoadStreamQueue(const std::string &user, VEXOPlaylistRec **head) {
  char path[4096];
  snprintf(path, sizeof path, kStreamQueueFormat, user.c_str());
  LoadedPlaylist queue(AudioFile::PlaylistFileLoad(path, 0, 0));
  if (queue == nullptr) {
    LOG_LINE("Cannot load the playlist from %s", path);
    return -1;
  }
  SongListBuilder list(head);
  for (__tag_VEXO_MEDIA_INFO **record = queue->begin; record != queue->end; ++record) {
    VEXOPlaylistRec *node = list.AppendNew();
    if (node == nullptr) {
      static_cast<void>(queue.release()); // left to the end of the process, which is near
      return -1;
    }
    node->info = **record;
  }
  return list.count();
}

} // namespace

int LoadPlayerQueue(WebMan &request, const char *target, VEXOPlaylistRec **head) {
  const char *requested = request.In("target", nullptr);
  if (requested != nullptr && strcmp(requested, "stream") == 0) {
    return LoadStreamQueue(request.GetLoginUserName(), head);
  }
  const bool is_usb = strcmp(target, "usb") == 0;
  return LoadDaemonQueue(is_usb ? kUsbPlayer : static_cast<int>(strtol(target, nullptr, 10)), head);
}
