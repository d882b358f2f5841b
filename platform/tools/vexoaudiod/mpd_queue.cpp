#include "vexoaudiod/mpd_queue.h"
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string_view>
#include <sys/socket.h>
#include <system_error>
#include <utility>

namespace vexo::audiod {

namespace {

constexpr unsigned kTimeoutMilliseconds = 3000;

struct FreeSong {
  void operator()(mpd_song *song) const { mpd_song_free(song); }
};
struct FreeStatus {
  void operator()(mpd_status *status) const { mpd_status_free(status); }
};

std::string Tag(const mpd_song *song, mpd_tag_type type) {
  const char *value = mpd_song_get_tag(song, type, 0);
  return value == nullptr ? "" : value;
}

/// The number that a tag begins with: "3/12" is track 3, "1987-05-01" the year 1987.
int NumberTag(const mpd_song *song, mpd_tag_type type) {
  const long number = strtol(Tag(song, type).c_str(), nullptr, 10);
  return static_cast<int>(std::clamp(number, 0L, 1'000'000L));
}

/// MPD names a file below its folder by a relative path, any other by its full path or an address.
std::string FullPath(const std::string &directory, const std::string &uri) {
  constexpr std::string_view kFileScheme = "file://";
  if (uri.starts_with(kFileScheme)) {
    return uri.substr(kFileScheme.size());
  }
  const bool is_relative = !uri.starts_with('/') && uri.find("://") == std::string::npos;
  return is_relative && !directory.empty() ? directory + "/" + uri : uri;
}

std::string WithoutLinks(const std::string &path) {
  std::error_code error;
  const std::filesystem::path real = std::filesystem::canonical(path, error);
  return error ? path : real.string();
}

} // namespace

MpdQueue::MpdQueue(PlayerSettings settings, std::chrono::seconds answer_time)
    : settings_(std::move(settings)), answer_time_(answer_time) {}

MpdQueue::~MpdQueue() { Disconnect(); }

QueuePart MpdQueue::Fetch(unsigned offset, unsigned limit) {
  const bool is_kept = connection_ != nullptr;
  deadline_ = std::chrono::steady_clock::now() + answer_time_;
  bytes_left_ = kMostAnswerBytes;
  try {
    return FetchOnce(offset, limit);
  } catch (const MpdError &error) {
    Disconnect();
    if (!is_kept || !error.has_hung_up()) {
      throw;
    }
  }
  // MPD was restarted since, or has closed a connection that was idle for too long.
  try {
    return FetchOnce(offset, limit);
  } catch (const MpdError &) {
    Disconnect();
    throw;
  }
}

void MpdQueue::Abort() {
  const std::lock_guard lock(abort_mutex_);
  aborted_ = true;
  if (connection_ != nullptr) {
    shutdown(mpd_connection_get_fd(connection_.get()), SHUT_RDWR);
  }
}

/// One command list, which MPD runs without anything in between: total and entries belong together.
QueuePart MpdQueue::FetchOnce(unsigned offset, unsigned limit) {
  if (connection_ == nullptr) {
    Connect();
  }
  mpd_connection *connection = connection_.get();
  Check(mpd_command_list_begin(connection, true) && mpd_send_status(connection) &&
        mpd_send_list_queue_range_meta(connection, offset, offset + limit) &&
        mpd_command_list_end(connection));
  QueuePart part;
  part.total = ReceiveTotal();
  part.entries = ReceiveEntries(limit);
  return part;
}

void MpdQueue::Connect() {
  const bool is_socket = settings_.host.starts_with('/') || settings_.host.starts_with('@');
  Connection connection(mpd_connection_new(settings_.host.c_str(), is_socket ? 0 : settings_.port,
                                           kTimeoutMilliseconds));
  {
    const std::lock_guard lock(abort_mutex_);
    connection_ = std::move(connection);
    if (aborted_ || connection_ == nullptr) {
      throw MpdError(aborted_ ? "the daemon ends" : "no memory", false);
    }
  }
  Check(mpd_connection_get_error(connection_.get()) == MPD_ERROR_SUCCESS);
  mpd_connection_set_keepalive(connection_.get(), true);
  if (!settings_.partition.empty()) {
    Check(mpd_send_switch_partition(connection_.get(), settings_.partition.c_str()));
    SkipRest();
    Check(mpd_response_finish(connection_.get()));
  }
  FindMusicDirectory();
}

void MpdQueue::Disconnect() {
  const std::lock_guard lock(abort_mutex_);
  connection_.reset();
}

/// MPD tells its folder only to clients on its own machine that come through a socket file.
void MpdQueue::FindMusicDirectory() {
  music_directory_ = settings_.music_directory;
  if (music_directory_.empty()) {
    Check(mpd_send_command(connection_.get(), "config", nullptr));
    while (const Pair pair = NextPair()) {
      if (pair->name == std::string_view("music_directory")) {
        music_directory_ = pair->value;
      }
    }
    const bool is_told = mpd_response_finish(connection_.get());
    Check(is_told || mpd_connection_clear_error(connection_.get()));
  }
  real_music_directory_ = music_directory_.empty() ? "" : WithoutLinks(music_directory_);
}

MpdQueue::Pair MpdQueue::NextPair() {
  mpd_connection *const connection = connection_.get();
  Pair pair(mpd_recv_pair(connection), Return{connection});
  if (pair) {
    const std::size_t size = std::strlen(pair->name) + std::strlen(pair->value);
    if (size >= bytes_left_) {
      throw MpdError("an answer that is too long", false);
    }
    bytes_left_ -= size;
    if (std::chrono::steady_clock::now() > deadline_) {
      throw MpdError("an answer that takes too long", false);
    }
  }
  return pair;
}

void MpdQueue::SkipRest() {
  while (NextPair()) {
  }
}

unsigned MpdQueue::ReceiveTotal() {
  const std::unique_ptr<mpd_status, FreeStatus> status(mpd_status_begin());
  if (status == nullptr) {
    throw MpdError("no memory", false);
  }
  while (const Pair pair = NextPair()) {
    mpd_status_feed(status.get(), pair.get());
  }
  Check(mpd_response_next(connection_.get()));
  return mpd_status_get_queue_length(status.get());
}

std::vector<QueueEntry> MpdQueue::ReceiveEntries(unsigned limit) {
  std::vector<QueueEntry> entries;
  std::unique_ptr<mpd_song, FreeSong> song;
  const auto take_song = [&] {
    if (song != nullptr) {
      entries.push_back(Entry(song.get()));
    }
  };
  while (const Pair pair = NextPair()) {
    if (song != nullptr && mpd_song_feed(song.get(), pair.get())) {
      continue;
    }
    take_song();
    song.reset(mpd_song_begin(pair.get()));
    if (song == nullptr || entries.size() >= limit) {
      throw MpdError(song == nullptr ? "an entry that is none" : "more entries than asked for",
                     false);
    }
  }
  take_song();
  if (mpd_connection_get_error(connection_.get()) == MPD_ERROR_SUCCESS) {
    Check(mpd_response_next(connection_.get()));
    SkipRest();
  }
  const bool is_finished = mpd_response_finish(connection_.get());
  const bool is_beyond_the_end =
      mpd_connection_get_error(connection_.get()) == MPD_ERROR_SERVER &&
      mpd_connection_get_server_error(connection_.get()) == MPD_SERVER_ERROR_ARG;
  Check(is_finished || (is_beyond_the_end && mpd_connection_clear_error(connection_.get())));
  return entries;
}

QueueEntry MpdQueue::Entry(const mpd_song *song) const {
  QueueEntry entry;
  entry.uri = mpd_song_get_uri(song);
  entry.res = FullPath(music_directory_, entry.uri);
  entry.title = Tag(song, MPD_TAG_TITLE);
  if (entry.title.empty()) {
    entry.title = Tag(song, MPD_TAG_NAME); // a radio station's
  }
  entry.artist = Tag(song, MPD_TAG_ARTIST);
  entry.album = Tag(song, MPD_TAG_ALBUM);
  entry.genre = Tag(song, MPD_TAG_GENRE);
  entry.track = NumberTag(song, MPD_TAG_TRACK);
  entry.disc = NumberTag(song, MPD_TAG_DISC);
  entry.year = NumberTag(song, MPD_TAG_DATE);
  entry.duration_seconds = mpd_song_get_duration(song);
  if (const mpd_audio_format *format = mpd_song_get_audio_format(song)) {
    entry.sample_rate = format->sample_rate;
    entry.channels = format->channels;
  }
  return entry;
}

void MpdQueue::Check(bool success) {
  if (!success) {
    throw Failure();
  }
}

MpdError MpdQueue::Failure() const {
  const mpd_error error = mpd_connection_get_error(connection_.get());
  if (error == MPD_ERROR_SUCCESS) {
    return {"an answer that is none", false};
  }
  return {mpd_connection_get_error_message(connection_.get()),
          error == MPD_ERROR_CLOSED || error == MPD_ERROR_SYSTEM};
}

} // namespace vexo::audiod
