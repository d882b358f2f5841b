#include "vexoaudiod/mpd_controls.h"
#include "vexoaudiod/mpd_queue.h"
#include <algorithm>
#include <span>

namespace vexo::audiod {

namespace {

/// MPD keeps a whole command list in memory, 2 MiB at most; a path has 4 KiB at most.
constexpr std::size_t kMostOfAList = 400;

const char *NameOf(mpd_state state) {
  switch (state) {
  case MPD_STATE_PLAY:
    return "play";
  case MPD_STATE_PAUSE:
    return "pause";
  default:
    return "stop";
  }
}

/// Sends what tells a player something, as a part of a command list.
bool Send(mpd_connection *connection, Control control, unsigned value) {
  switch (control) {
  case Control::kStatus:
    return true;
  case Control::kPlay:
    return mpd_send_play_pos(connection, value);
  case Control::kResume:
    return mpd_send_play(connection);
  case Control::kPause:
    return mpd_send_pause(connection, true);
  case Control::kStop:
    return mpd_send_stop(connection);
  case Control::kNext:
    return mpd_send_next(connection);
  case Control::kPrevious:
    return mpd_send_previous(connection);
  case Control::kSeek:
    return mpd_send_seek_current(connection, static_cast<float>(value) / 1000, false);
  case Control::kVolume:
    return mpd_send_set_volume(connection, value);
  }
  return false;
}

PlayerStatus StatusOf(const mpd_status *status) {
  PlayerStatus result;
  result.state = NameOf(mpd_status_get_state(status));
  result.position = mpd_status_get_song_pos(status);
  result.queue_length = mpd_status_get_queue_length(status);
  result.elapsed_milliseconds = mpd_status_get_elapsed_ms(status);
  result.duration_milliseconds = mpd_status_get_total_time(status) * 1000;
  result.volume_percent = mpd_status_get_volume(status);
  result.repeat = mpd_status_get_repeat(status);
  result.random = mpd_status_get_random(status);
  return result;
}

/// How MPD names a song: by its path below MPD's folder, or in full.
std::string UriOf(const MpdConnection &mpd, const std::string &song) {
  for (const std::string *folder : {&mpd.music_directory(), &mpd.real_music_directory()}) {
    if (!folder->empty() && song.size() > folder->size() && song.starts_with(*folder) &&
        song[folder->size()] == '/') {
      return song.substr(folder->size() + 1);
    }
  }
  return song;
}

/// Whether a name fits into a command, with a backslash before each quote and backslash. An empty
/// one would be MPD's whole collection.
bool FitsCommand(const std::string &uri) {
  constexpr std::size_t kLongest = 4000; // the client library's buffer has 4 KiB
  const auto escapes =
      std::ranges::count_if(uri, [](char letter) { return letter == '"' || letter == '\\'; });
  return !uri.empty() && uri.find('\0') == std::string::npos &&
         uri.size() + static_cast<std::size_t>(escapes) <= kLongest;
}

/// The names of the songs that MPD can be told.
std::vector<std::string> UrisOf(const MpdConnection &mpd, const std::vector<std::string> &songs) {
  std::vector<std::string> uris;
  uris.reserve(songs.size());
  for (const std::string &song : songs) {
    uris.push_back(UriOf(mpd, song));
  }
  std::erase_if(uris, [](const std::string &uri) { return !FitsCommand(uri); });
  return uris;
}

struct Added {
  std::size_t count = 0; ///< of songs before one that MPD refused: all, when it refused none
  bool is_full = false;  ///< the queue has no room for more
};

/// Adds songs in one command list, `clears` first.
Added AddUpToRefusal(MpdConnection &mpd, std::span<const std::string> songs, bool clears) {
  mpd_connection *const connection = mpd.get();
  mpd.Check(mpd_command_list_begin(connection, false) && (!clears || mpd_send_clear(connection)));
  for (const std::string &song : songs) {
    mpd.Check(mpd_send_add(connection, song.c_str()));
  }
  mpd.Check(mpd_command_list_end(connection));
  mpd.SkipRest();
  if (mpd_response_finish(connection)) {
    return {songs.size(), false};
  }
  mpd.Check(mpd_connection_get_error(connection) == MPD_ERROR_SERVER);
  const bool is_full = mpd_connection_get_server_error(connection) == MPD_SERVER_ERROR_PLAYLIST_MAX;
  const std::size_t done = mpd_connection_get_server_error_location(connection);
  const std::size_t before = clears ? 1 : 0;
  mpd.Check(done >= before && mpd_connection_clear_error(connection));
  return {std::min(done - before, songs.size() - 1), is_full};
}

/// MPD ends a list with the first song that it refuses, and the rest goes to it again. Where it has
/// refused one, the next lists are short, so that many cost no more than a list each.
LoadResult Load(MpdConnection &mpd, std::span<const std::string> songs, bool replaces) {
  LoadResult result;
  bool clears = replaces;
  std::size_t most = kMostOfAList;
  while (!songs.empty()) {
    const auto some = songs.first(std::min(songs.size(), most));
    const Added added = AddUpToRefusal(mpd, some, clears);
    const std::size_t left = songs.size() - added.count;
    const std::size_t refused = added.is_full ? left : added.count < some.size() ? 1 : 0;
    most = refused > 0 ? added.count + 1 : std::min(2 * most, kMostOfAList);
    result.added += added.count;
    result.refused += refused;
    songs = songs.last(left - refused);
    clears = false;
  }
  return result;
}

} // namespace

PlayerStatus ControlMpd(MpdConnection &mpd, Control control, unsigned value) {
  return mpd.Converse([&] {
    mpd_connection *const connection = mpd.get();
    mpd.Check(mpd_command_list_begin(connection, true) && Send(connection, control, value) &&
              mpd_send_status(connection) && mpd_send_current_song(connection) &&
              mpd_command_list_end(connection));
    if (control != Control::kStatus) {
      mpd.ExpectCommand();
      mpd.SkipRest();
      mpd.Check(mpd_response_next(connection));
    }
    PlayerStatus status = StatusOf(ReceiveStatus(mpd).get());
    status.song = ReceiveEntries(mpd, 1);
    return status;
  });
}

LoadResult LoadIntoMpd(MpdConnection &mpd, const std::vector<std::string> &songs, bool replaces) {
  return mpd.Converse([&] {
    mpd.ExpectCommand();
    const std::vector<std::string> uris = UrisOf(mpd, songs);
    LoadResult result = Load(mpd, uris, replaces);
    result.refused += songs.size() - uris.size();
    if (replaces && result.added > 0) {
      mpd.Check(mpd_run_play_pos(mpd.get(), 0));
    }
    return result;
  });
}

} // namespace vexo::audiod
