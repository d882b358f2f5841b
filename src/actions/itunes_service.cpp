#include "actions/itunes_service.h"

#include "model/log_line.h"
#include "vexo/itunes.h"

namespace {
constexpr unsigned kPlaylistsRemoved = 0x13200003;
} // namespace

bool RestartITunesServiceAndLog() {
  if (iTunesServiceCheckAndReStart() < 0) {
    LOG_LINE("iTunesServiceCheckAndReStart() failed");
    return false;
  }
  VEXOLogSet1(2, 1, kPlaylistsRemoved, "remove playlist(s)", "", "", "");
  return true;
}
