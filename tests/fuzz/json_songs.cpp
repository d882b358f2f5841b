// The JSON song lists of clients: any bytes give a list with a node an element, or none with a line
// in the system log.

#include "model/song_json.h"

#include "recording_platform/recording_host.h"
#include <cstdlib>
#include <string>

namespace {

void Require(bool holds) {
  if (!holds) {
    std::abort();
  }
}

bool IsTerminated(const char *field, std::size_t size) {
  return std::string_view(field, size).find('\0') != std::string_view::npos;
}

int Length(const VEXOPlaylistRec *list) {
  int length = 0;
  for (; list != nullptr; list = list->next) {
    Require(IsTerminated(list->info.path, sizeof(list->info.path)));
    Require(IsTerminated(list->info.title, sizeof(list->info.title)));
    ++length;
  }
  return length;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, std::size_t size) {
  recording::ResetHost();
  recording::TheHost().records["VEXOMusicListGetByID"] = {recording::Song(1, "/one.mp3"),
                                                          recording::Song(12, "/twelve.mp3")};
  const std::string text(reinterpret_cast<const char *>(data), size);
  SongList songs;
  int count = -1;
  if (GetSongsByText(text.c_str(), songs, &count)) {
    Require(Length(songs.get()) == count);
  } else {
    Require(!recording::TheHost().log.empty());
  }
  return 0;
}
