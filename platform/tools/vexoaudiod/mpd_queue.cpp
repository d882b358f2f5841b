#include "vexoaudiod/mpd_queue.h"
#include <algorithm>
#include <cstdlib>
#include <memory>
#include <string_view>

namespace vexo::audiod {

namespace {

struct FreeSong {
  void operator()(mpd_song *song) const { mpd_song_free(song); }
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

QueueEntry Entry(const mpd_song *song, const std::string &music_directory) {
  QueueEntry entry;
  entry.uri = mpd_song_get_uri(song);
  entry.res = FullPath(music_directory, entry.uri);
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

} // namespace

Status ReceiveStatus(MpdConnection &mpd) {
  Status status(mpd_status_begin());
  if (status == nullptr) {
    throw MpdError("no memory", MpdError::Kind::kFailed);
  }
  while (const MpdConnection::Pair pair = mpd.NextPair()) {
    mpd_status_feed(status.get(), pair.get());
  }
  mpd.Check(mpd_response_next(mpd.get()));
  return status;
}

std::vector<QueueEntry> ReceiveEntries(MpdConnection &mpd, unsigned limit) {
  std::vector<QueueEntry> entries;
  std::unique_ptr<mpd_song, FreeSong> song;
  const auto take_song = [&] {
    if (song != nullptr) {
      entries.push_back(Entry(song.get(), mpd.music_directory()));
    }
  };
  while (const MpdConnection::Pair pair = mpd.NextPair()) {
    if (song != nullptr && mpd_song_feed(song.get(), pair.get())) {
      continue;
    }
    take_song();
    song.reset(mpd_song_begin(pair.get()));
    if (song == nullptr || entries.size() >= limit) {
      throw MpdError(song == nullptr ? "an entry that is none" : "more entries than asked for",
                     MpdError::Kind::kFailed);
    }
  }
  take_song();
  if (mpd_connection_get_error(mpd.get()) == MPD_ERROR_SUCCESS) {
    mpd.Check(mpd_response_next(mpd.get()));
    mpd.SkipRest();
  }
  const bool is_finished = mpd_response_finish(mpd.get());
  const bool is_beyond_the_end = mpd_connection_get_error(mpd.get()) == MPD_ERROR_SERVER &&
                                 mpd_connection_get_server_error(mpd.get()) == MPD_SERVER_ERROR_ARG;
  mpd.Check(is_finished || (is_beyond_the_end && mpd_connection_clear_error(mpd.get())));
  return entries;
}

/// One command list, which MPD runs without anything in between: total and entries belong together.
QueuePart FetchQueue(MpdConnection &mpd, unsigned offset, unsigned limit) {
  return mpd.Converse([&] {
    mpd_connection *const connection = mpd.get();
    mpd.Check(mpd_command_list_begin(connection, true) && mpd_send_status(connection) &&
              mpd_send_list_queue_range_meta(connection, offset, offset + limit) &&
              mpd_command_list_end(connection));
    QueuePart part;
    part.total = mpd_status_get_queue_length(ReceiveStatus(mpd).get());
    part.entries = ReceiveEntries(mpd, limit);
    return part;
  });
}

} // namespace vexo::audiod
