#include "catalog/queue.h"
#include "files/durable_file.h"
#include "files/file_io.h"
#include "playlists/line_reader.h"
#include "playlists/playlist_content.h"
#include "playlists/playlist_text.h"
#include "playlists/version.h"
#include "playlists/write_playlist.h"
#include "system/log.h"
#include "system/paths.h"
#include "text/numbers.h"
#include <algorithm>
#include <cmath>

namespace vexo::catalog {
namespace {

constexpr unsigned kQueueMode = 0600;
constexpr std::size_t kLargestQueue = std::size_t{64} << 20U; ///< as addplaying reads at most

// The keys of the place. The time is in thousandths of a second.
constexpr std::string_view kOurKey = "X-";
constexpr std::string_view kPositionKey = "X-Position=";
constexpr std::string_view kElapsedKey = "X-Elapsed-Ms=";
constexpr std::string_view kUpdatedKey = "X-Updated=";
constexpr double kThousandths = 1000;

std::string QueueFile(const accounts::Account &user) {
  return user.preference_folder + "/queue.pls";
}

std::string CopyFile(const accounts::Account &user) {
  return std::string(system::kTemporary) + "/playing_" + user.name + ".pls";
}

std::string ReadText(const accounts::Account &user) {
  return files::ReadWholeFile(QueueFile(user), kLargestQueue).value_or("");
}

/// Makes the copy what the queue is, also when another device writes that meanwhile.
void WriteCopy(const accounts::Account &user) {
  constexpr int kMostTimes = 10;
  std::string text = ReadText(user);
  for (int times = 0; times < kMostTimes; ++times) {
    playlists::WriteTemporaryPlaylist(text, CopyFile(user));
    std::string now = ReadText(user);
    if (now == text) {
      return;
    }
    text = std::move(now);
  }
}

/// The queue is what counts: a copy that cannot be written is only logged.
void TryWriteCopy(const accounts::Account &user) {
  try {
    WriteCopy(user);
  } catch (const std::exception &error) {
    system::LogFailure("copy of the queue", error.what());
  }
}

/// How many entries a text has that WriteQueue() wrote.
std::size_t CountEntries(std::string_view text, const std::string &path) {
  return playlists::PlaylistContent(text, path).size();
}

void AppendPlace(std::string &text, const QueuePlace &place) {
  text.append(kPositionKey).append(std::to_string(place.position)).append("\n");
  text.append(kElapsedKey)
      .append(std::to_string(std::llround(place.elapsed_seconds * kThousandths)))
      .append("\n");
  text.append(kUpdatedKey).append(std::to_string(place.updated)).append("\n");
}

/// Takes the number of a line that begins with `key`.
void TakeNumber(std::string_view line, std::string_view key, int64_t &number) {
  if (line.starts_with(key)) {
    number = std::max<int64_t>(text::ParseInteger(line.substr(key.size())).value_or(0), 0);
  }
}

} // namespace

std::string FormatQueue(const std::vector<QueueEntry> &entries, const QueuePlace &place) {
  constexpr std::string_view kMissing = "/missing"; // the file needs a path: nothing lies there
  std::vector<playlists::NewEntry> lines;
  lines.reserve(entries.size());
  for (const QueueEntry &entry : entries) {
    lines.push_back({entry.path.empty() ? kMissing : std::string_view(entry.path), entry.artist,
                     entry.title, static_cast<float>(entry.duration_seconds)});
  }
  const std::string songs = playlists::M3uEntries(lines);
  std::string text;
  (void)playlists::NewPlaylist("queue.pls", songs, text);
  AppendPlace(text, place);
  return text;
}

std::string WithPlace(std::string_view text, const QueuePlace &place) {
  std::string changed;
  playlists::LineReader lines(text);
  while (const auto line = lines.Next()) {
    if (!line->text.starts_with(kOurKey)) {
      changed.append(text.substr(line->begin, line->end - line->begin));
    }
  }
  if (changed.empty()) {
    return FormatQueue({}, place);
  }
  AppendPlace(changed, place);
  return changed;
}

QueuePlace PlaceOf(std::string_view text) {
  int64_t position = 0, elapsed = 0, updated = 0;
  playlists::LineReader lines(text);
  while (const auto line = lines.Next()) {
    TakeNumber(line->text, kPositionKey, position);
    TakeNumber(line->text, kElapsedKey, elapsed);
    TakeNumber(line->text, kUpdatedKey, updated);
  }
  return {static_cast<std::size_t>(position), static_cast<double>(elapsed) / kThousandths, updated};
}

Queue ReadQueue(const accounts::Account &user, std::size_t offset, std::size_t limit) {
  std::string text = ReadText(user);
  if (!text.empty() && !files::IsAnyEntry(CopyFile(user))) {
    TryWriteCopy(user);
  }
  Queue queue{.version = playlists::ContentVersion(text), .place = PlaceOf(text), .entries = {}};
  try {
    List list(std::move(text), QueueFile(user));
    queue.size = list.size();
    queue.entries = list.Entries(offset, limit);
  } catch (const playlists::UnreadableError &error) {
    system::LogFailure("queue", error.what());
  }
  queue.place.position = std::min(queue.place.position, queue.size == 0 ? 0 : queue.size - 1);
  return queue;
}

QueueEdit WriteQueue(const accounts::Account &user, const QueuePlace &place,
                     const std::optional<std::vector<QueueEntry>> &entries,
                     const std::function<bool(const std::string &version)> &is_meant) {
  const std::string path = QueueFile(user);
  QueueEdit outcome = QueueEdit::kDone;
  std::string text;
  const auto change = [&](std::string_view old) {
    const std::size_t size = entries ? entries->size() : CountEntries(old, path);
    const bool is_beyond = place.position > 0 && place.position >= size;
    outcome = !is_meant(playlists::ContentVersion(old)) ? QueueEdit::kStale
              : is_beyond                               ? QueueEdit::kBeyond
                                                        : QueueEdit::kDone;
    text = entries ? FormatQueue(*entries, place) : WithPlace(old, place);
    return outcome == QueueEdit::kDone;
  };
  const files::Edit edit = [&](std::string_view old,
                               const std::string &) -> std::optional<files::Pieces> {
    return change(old) ? std::optional(files::Pieces{text}) : std::nullopt;
  };
  // A queue that is refused leaves an empty one where there was none, which is the same.
  files::EditOrCreateDurably(
      path, edit, [&] { return change("") ? text : std::string(); }, kQueueMode);
  if (outcome == QueueEdit::kDone) {
    TryWriteCopy(user);
  }
  return outcome;
}

} // namespace vexo::catalog
