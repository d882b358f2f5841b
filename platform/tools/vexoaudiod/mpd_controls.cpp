#include "vexoaudiod/mpd_controls.h"
#include "vexoaudiod/mpd_queue.h"
#include <algorithm>
#include <optional>
#include <span>
#include <utility>

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
bool Send(mpd_connection *connection, const ControlPlayer &command) {
  const unsigned value = command.value;
  switch (command.control) {
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
  case Control::kRepeat:
    return mpd_send_repeat(connection, value != 0);
  case Control::kRandom:
    return mpd_send_random(connection, value != 0);
  case Control::kRemove:
    return mpd_send_delete_range(connection, value, value + command.second);
  case Control::kMove:
    return mpd_send_move(connection, value, command.second);
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

/// The names of the songs that MPD can be told. `begin`, the position of a song, becomes its
/// position among these.
std::vector<std::string> UrisOf(const MpdConnection &mpd, const std::vector<std::string> &songs,
                                std::size_t &begin) {
  std::vector<std::string> uris;
  uris.reserve(songs.size());
  const std::size_t wanted = begin;
  for (std::size_t i = 0; i < songs.size(); ++i) {
    std::string uri = UriOf(mpd, songs[i]);
    if (FitsCommand(uri)) {
      uris.push_back(std::move(uri));
    } else {
      begin -= i < wanted ? 1 : 0;
    }
  }
  return uris;
}

struct Added {
  std::size_t count = 0; ///< of songs before one that MPD refused: all, when it refused none
  bool is_full = false;  ///< the queue has no room for more
};

/// Where songs go in MPD's queue.
struct Target {
  bool clears = false;        ///< the queue before
  std::optional<unsigned> at; ///< the position of the first one; nothing: at the end
};

/// Adds songs in one command list.
Added AddUpToRefusal(MpdConnection &mpd, std::span<const std::string> songs, const Target &target) {
  mpd_connection *const connection = mpd.get();
  mpd.Check(mpd_command_list_begin(connection, false) &&
            (!target.clears || mpd_send_clear(connection)));
  unsigned at = target.at.value_or(0);
  for (const std::string &song : songs) {
    mpd.Check(target.at ? mpd_send_add_id_to(connection, song.c_str(), at++)
                        : mpd_send_add(connection, song.c_str()));
  }
  mpd.Check(mpd_command_list_end(connection));
  mpd.SkipRest();
  if (mpd_response_finish(connection)) {
    return {songs.size(), false};
  }
  mpd.Check(mpd_connection_get_error(connection) == MPD_ERROR_SERVER);
  const bool is_full = mpd_connection_get_server_error(connection) == MPD_SERVER_ERROR_PLAYLIST_MAX;
  const std::size_t done = mpd_connection_get_server_error_location(connection);
  const std::size_t before = target.clears ? 1 : 0;
  mpd.Check(done >= before && mpd_connection_clear_error(connection));
  return {std::min(done - before, songs.size() - 1), is_full};
}

/// MPD ends a list with the first song that it refuses, and the rest goes to it again. Where it has
/// refused one, the next lists are short, so that many cost no more than a list each. `begin`, the
/// position of a song, becomes its position among those that were added.
LoadResult Load(MpdConnection &mpd, std::span<const std::string> songs, Target target,
                std::size_t &begin) {
  LoadResult result;
  const std::size_t wanted = begin;
  std::size_t most = kMostOfAList;
  while (!songs.empty()) {
    const auto some = songs.first(std::min(songs.size(), most));
    const Added added = AddUpToRefusal(mpd, some, target);
    const std::size_t left = songs.size() - added.count;
    const std::size_t refused = added.is_full ? left : added.count < some.size() ? 1 : 0;
    most = refused > 0 ? added.count + 1 : std::min(2 * most, kMostOfAList);
    begin -= result.added + result.refused + added.count < wanted && refused == 1 ? 1 : 0;
    result.added += added.count;
    result.refused += refused;
    songs = songs.last(left - refused);
    target.clears = false;
    target.at =
        target.at ? std::optional(*target.at + static_cast<unsigned>(added.count)) : std::nullopt;
  }
  return result;
}

Status AskStatus(MpdConnection &mpd) {
  mpd_connection *const connection = mpd.get();
  mpd.Check(mpd_command_list_begin(connection, true) && mpd_send_status(connection) &&
            mpd_command_list_end(connection));
  Status status = ReceiveStatus(mpd);
  mpd.Check(mpd_response_finish(connection));
  return status;
}

/// Behind the song that plays, which in random order says nothing of what plays next: there the
/// priority does.
LoadResult LoadNext(MpdConnection &mpd, std::span<const std::string> uris) {
  constexpr int kFirstOfAll = 255;
  const Status status = AskStatus(mpd);
  const auto at = static_cast<unsigned>(mpd_status_get_song_pos(status.get()) + 1);
  std::size_t begin = 0;
  const LoadResult result = Load(mpd, uris, {.clears = false, .at = at}, begin);
  if (mpd_status_get_random(status.get()) && result.added > 0) {
    const auto end = at + static_cast<unsigned>(result.added);
    mpd.Check(mpd_run_prio_range(mpd.get(), kFirstOfAll, at, end));
  }
  return result;
}

LoadResult Replace(MpdConnection &mpd, std::span<const std::string> uris, std::size_t begin) {
  const LoadResult result = Load(mpd, uris, {.clears = true, .at = {}}, begin);
  if (result.added > 0) {
    const auto position = static_cast<unsigned>(std::min(begin, result.added - 1));
    mpd.Check(mpd_run_play_pos(mpd.get(), position));
  }
  return result;
}

} // namespace

PlayerStatus ControlMpd(MpdConnection &mpd, const ControlPlayer &command) {
  return mpd.Converse([&] {
    mpd_connection *const connection = mpd.get();
    mpd.Check(mpd_command_list_begin(connection, true) && Send(connection, command) &&
              mpd_send_status(connection) && mpd_send_current_song(connection) &&
              mpd_command_list_end(connection));
    if (command.control != Control::kStatus) {
      mpd.ExpectCommand();
      mpd.SkipRest();
      mpd.Check(mpd_response_next(connection));
    }
    PlayerStatus status = StatusOf(ReceiveStatus(mpd).get());
    status.song = ReceiveEntries(mpd, 1);
    return status;
  });
}

LoadResult LoadIntoMpd(MpdConnection &mpd, const std::vector<std::string> &songs, Place place,
                       std::size_t begin) {
  return mpd.Converse([&] {
    mpd.ExpectCommand();
    std::size_t position = begin;
    const std::vector<std::string> uris = UrisOf(mpd, songs, position);
    LoadResult result = place == Place::kNext      ? LoadNext(mpd, uris)
                        : place == Place::kReplace ? Replace(mpd, uris, position)
                                                   : Load(mpd, uris, {}, position);
    result.refused += songs.size() - uris.size();
    return result;
  });
}

} // namespace vexo::audiod
