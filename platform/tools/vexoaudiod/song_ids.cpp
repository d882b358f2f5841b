#include "vexoaudiod/song_ids.h"
#include "accounts/libraries.h"
#include "system/log.h"
#include "system/paths.h"
#include <exception>
#include <unistd.h>
#include <unordered_map>

namespace vexo::audiod {

namespace {

/// The shared library's folder, as the index names it and without links; empty: there is none.
struct SharedLibrary {
  std::string named, real;
};

SharedLibrary FindSharedLibrary() {
  const std::string named = accounts::SharedLibraryFolder().value_or("");
  return {named, accounts::RealPath(named).value_or("")};
}

/// The index names the shared library's folder in one way, a player perhaps by another link.
std::string NameInIndex(const SharedLibrary &library, const std::string &real_directory,
                        const QueueEntry &entry) {
  const std::string path =
      entry.uri.starts_with('/') ? entry.uri : real_directory + "/" + entry.uri;
  const bool is_inside = !library.real.empty() && path.starts_with(library.real + "/");
  return is_inside ? library.named + path.substr(library.real.size()) : "";
}

void FillText(std::string &text, const std::string &known) {
  if (text.empty()) {
    text = known;
  }
}

template <typename Number, typename Known> void FillNumber(Number &number, Known known) {
  if (number == 0 && known > 0) {
    number = static_cast<Number>(known);
  }
}

void Fill(QueueEntry &entry, const index::Song &song) {
  entry.song_id = song.id;
  entry.size_bytes = song.size_bytes;
  entry.bitrate = song.bitrate;
  FillText(entry.title, song.title);
  FillText(entry.artist, song.artist);
  FillText(entry.album, song.album);
  FillText(entry.genre, song.genre);
  FillNumber(entry.track, song.track);
  FillNumber(entry.disc, song.disc);
  FillNumber(entry.year, song.year);
  FillNumber(entry.duration_seconds, song.duration_seconds);
  FillNumber(entry.sample_rate, song.sample_rate);
  FillNumber(entry.channels, song.channels);
}

} // namespace

void SongIds::Complete(std::vector<QueueEntry> &entries, const MpdConnection &player) {
  std::unordered_multimap<std::string, QueueEntry *> by_path;
  std::vector<std::string> paths;
  const SharedLibrary library = FindSharedLibrary();
  const std::string &directory = player.real_music_directory();
  for (QueueEntry &entry : entries) {
    for (const std::string &path : {entry.res, NameInIndex(library, directory, entry)}) {
      if (path.starts_with('/')) {
        by_path.emplace(path, &entry);
        paths.push_back(path);
      }
    }
  }
  using Clock = std::chrono::steady_clock;
  // An index that is not there is the scanner's to make, under the scanner's user.
  if (paths.empty() || Clock::now() < ask_again_ ||
      (index_ == nullptr && !index::HasMediaIndex())) {
    return;
  }
  try {
    if (index_ == nullptr) {
      index_ = index::OpenMediaIndex();
    }
    for (const index::Song &song : index_->SongsByPath(paths)) {
      const auto [first, last] = by_path.equal_range(song.path);
      for (auto found = first; found != last; ++found) {
        Fill(*found->second, song);
      }
    }
  } catch (const std::exception &error) {
    constexpr std::chrono::seconds kPause{10};
    index_.reset();
    ask_again_ = Clock::now() + kPause;
    system::LogFailure("songs of a queue", error.what());
  }
}

} // namespace vexo::audiod
