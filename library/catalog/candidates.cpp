#include "catalog/candidates.h"
#include "catalog/libraries.h"
#include "index/sort_keys.h"
#include "text/search_folding.h"
#include <algorithm>
#include <cmath>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

namespace vexo::catalog {
namespace {

// What each thing in common adds. A file name with two folders above it, a file name with a title,
// and a title with its artist, are likely; any of them alone is not.
constexpr double kFileNameScore = 0.45;
constexpr double kFolderScore = 0.15;
constexpr int kMostFolders = 2;
constexpr double kExtensionScore = 0.05;
constexpr double kTitleScore = 0.35;
constexpr double kArtistScore = 0.25;
constexpr double kDurationScore = 0.15;
/// A song of quite another length is another recording.
constexpr double kFarSeconds = 15;
constexpr double kFarScore = -0.3;

/// The songs of one name that are looked at.
constexpr int kMostOfOneName = 50;

/// The last component of a path, which loses it and the separator before it.
std::string_view TakeLast(std::string_view &path) {
  const std::size_t separator = path.find_last_of("/\\");
  const std::string_view last = path.substr(separator + 1);
  path = path.substr(0, separator == std::string_view::npos ? 0 : separator);
  return last;
}

/// The title that a file's name tells where nothing else does: "03 Title", "03 - Artist - Title".
std::string_view TitleInName(std::string_view stem) {
  constexpr std::string_view kDash = " - ";
  const std::size_t dash = stem.rfind(kDash);
  if (dash != std::string_view::npos) {
    return stem.substr(dash + kDash.size());
  }
  const std::size_t title = stem.find_first_not_of("0123456789 .-_");
  return title == std::string_view::npos ? stem : stem.substr(title);
}

/// What is compared of the song that is wanted, folded once.
struct Folded {
  explicit Folded(const WantedSong &wanted) {
    std::string_view path = wanted.path;
    const std::string_view file_name = TakeLast(path);
    const std::string_view name = index::FileStem(file_name);
    stem = text::FoldForSearch(name);
    extension = text::FoldForSearch(file_name.substr(name.size()));
    for (int i = 0; i < kMostFolders && !path.empty(); ++i) {
      folders.push_back(text::FoldForSearch(TakeLast(path)));
    }
    title = text::FoldForSearch(wanted.title.empty() ? TitleInName(name)
                                                     : std::string_view(wanted.title));
    artist = text::FoldForSearch(wanted.artist);
    duration_seconds = wanted.duration_seconds;
  }

  std::string stem, extension, title, artist;
  std::vector<std::string> folders; ///< from the file on
  double duration_seconds;
};

bool AreSame(const std::string &one, const std::string &other) {
  return !one.empty() && one == other;
}

void ComparePaths(const Folded &wanted, const Folded &song, Likeness &likeness) {
  likeness.file_name = AreSame(wanted.stem, song.stem);
  if (!likeness.file_name) {
    return;
  }
  likeness.extension = AreSame(wanted.extension, song.extension);
  const std::size_t most = std::min(wanted.folders.size(), song.folders.size());
  while (static_cast<std::size_t>(likeness.folders) < most &&
         AreSame(wanted.folders[static_cast<std::size_t>(likeness.folders)],
                 song.folders[static_cast<std::size_t>(likeness.folders)])) {
    ++likeness.folders;
  }
}

double ScoreOf(const Likeness &likeness, double difference_seconds) {
  double score = likeness.file_name ? kFileNameScore + likeness.folders * kFolderScore : 0;
  score += likeness.extension ? kExtensionScore : 0;
  score += likeness.title ? kTitleScore : 0;
  score += likeness.artist ? kArtistScore : 0;
  score += likeness.duration ? kDurationScore : 0;
  score += difference_seconds > kFarSeconds ? kFarScore : 0;
  return std::clamp(score, 0.0, 1.0);
}

Likeness Compare(const Folded &wanted, const Folded &song, const std::string &album_artist) {
  Likeness likeness;
  ComparePaths(wanted, song, likeness);
  likeness.title = AreSame(wanted.title, song.title);
  likeness.artist = AreSame(wanted.artist, song.artist) ||
                    AreSame(wanted.artist, text::FoldForSearch(album_artist));
  const bool are_known = wanted.duration_seconds > 0 && song.duration_seconds > 0;
  const double difference =
      are_known ? std::abs(wanted.duration_seconds - song.duration_seconds) : 0;
  likeness.duration = are_known && difference <= kNearSeconds;
  likeness.score = ScoreOf(likeness, difference);
  return likeness;
}

Folded Fold(const index::Song &song) {
  return Folded({song.path, song.title, song.artist, song.duration_seconds});
}

/// A song that may be a candidate, folded once.
struct KnownSong {
  std::shared_ptr<const index::Song> song;
  Folded folded;
};

/// The songs that have a name in common with anything that is wanted, by that name.
class KnownSongs {
public:
  KnownSongs(const accounts::Account &user, const std::vector<Folded> &wanted) {
    std::unordered_set<std::string> stems, titles;
    for (const Folded &one : wanted) {
      stems.insert(one.stem);
      titles.insert(one.title);
    }
    for (const Library &library : LibrariesOf(user)) {
      Add(library.owner, index::MediaIndex::SongName::kFile, stems);
      Add(library.owner, index::MediaIndex::SongName::kTitle, titles);
    }
  }

  /// Each once.
  [[nodiscard]] std::vector<const KnownSong *> Like(const Folded &wanted) const {
    std::vector<const KnownSong *> found;
    for (const auto &[by_name, name] :
         {std::pair(&by_stem_, &wanted.stem), std::pair(&by_title_, &wanted.title)}) {
      const auto [first, last] = by_name->equal_range(*name);
      for (auto at = first; at != last; ++at) {
        found.push_back(at->second);
      }
    }
    std::sort(found.begin(), found.end());
    found.erase(std::unique(found.begin(), found.end()), found.end());
    return found;
  }

private:
  using ByName = std::unordered_multimap<std::string, const KnownSong *>;

  void Add(int owner, index::MediaIndex::SongName kind, std::unordered_set<std::string> &names) {
    names.erase("");
    for (index::Song &song : index::ProcessIndex().SongsNamed(
             owner, kind, {names.begin(), names.end()}, kMostOfOneName)) {
      Add(std::move(song));
    }
  }

  void Add(index::Song song) {
    const int32_t id = song.id;
    if (songs_.contains(id)) {
      return;
    }
    Folded folded = Fold(song);
    const KnownSong &known =
        songs_
            .emplace(id, KnownSong{std::make_shared<const index::Song>(std::move(song)),
                                   std::move(folded)})
            .first->second;
    by_stem_.emplace(known.folded.stem, &known);
    by_title_.emplace(known.folded.title, &known);
  }

  std::unordered_map<int32_t, KnownSong> songs_;
  ByName by_stem_, by_title_;
};

/// The likeliest first; of those alike, the one that was there first.
bool IsLikelier(const Candidate &a, const Candidate &b) {
  return a.likeness.score != b.likeness.score ? a.likeness.score > b.likeness.score
                                              : a.song->id < b.song->id;
}

std::vector<Candidate> CandidatesOf(const Folded &wanted, const KnownSongs &songs) {
  std::vector<Candidate> candidates;
  for (const KnownSong *const known : songs.Like(wanted)) {
    const Likeness likeness = Compare(wanted, known->folded, known->song->album_artist);
    if (likeness.score > 0) {
      candidates.push_back({known->song, likeness});
    }
  }
  const std::size_t kept = std::min(kMostCandidates, candidates.size());
  std::partial_sort(candidates.begin(), candidates.begin() + static_cast<std::ptrdiff_t>(kept),
                    candidates.end(), IsLikelier);
  candidates.resize(kept);
  return candidates;
}

} // namespace

Likeness Compare(const WantedSong &wanted, const index::Song &song) {
  return Compare(Folded(wanted), Fold(song), song.album_artist);
}

std::vector<std::vector<Candidate>> FindCandidates(const accounts::Account &user,
                                                   const std::vector<WantedSong> &wanted) {
  const std::vector<Folded> folded(wanted.begin(), wanted.end());
  const KnownSongs songs(user, folded);
  std::vector<std::vector<Candidate>> candidates;
  candidates.reserve(folded.size());
  for (const Folded &one : folded) {
    candidates.push_back(CandidatesOf(one, songs));
  }
  return candidates;
}

} // namespace vexo::catalog
