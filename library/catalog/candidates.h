#pragma once
// Which songs of the index an entry may mean whose path is none of theirs: because files were moved
// or renamed, or because the list is of another machine.

#include "accounts/accounts.h"
#include "index/media_index.h"
#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace vexo::catalog {

/// What is known of the song that an entry means. Texts are UTF-8 and may be empty.
struct WantedSong {
  std::string path; ///< as the list says it, with slashes or backslashes
  std::string title, artist;
  double duration_seconds = 0; ///< 0: not known
};

/// What a song and an entry have in common.
struct Likeness {
  bool file_name = false; ///< without the extension
  int folders = 0;        ///< so many of those above the file, from the file on
  bool extension = false;
  bool title = false, artist = false;
  bool duration = false; ///< to kNearSeconds
  double score = 0;      ///< from 0 to 1

  friend bool operator==(const Likeness &, const Likeness &) = default;
};

inline constexpr double kNearSeconds = 2;
/// With this score or a higher one a song is taken for the one that is meant.
inline constexpr double kLikelyScore = 0.6;
/// The most candidates of an entry.
inline constexpr std::size_t kMostCandidates = 10;

/// How alike a song and what is wanted are. Texts are compared as searches compare them.
Likeness Compare(const WantedSong &wanted, const index::Song &song);

struct Candidate {
  std::shared_ptr<const index::Song> song;
  Likeness likeness;
};

/// For each of `wanted`, the songs that the user sees and that have the file name or the title in
/// common with it, the likeliest first. Of very many songs of one name, some are looked at.
std::vector<std::vector<Candidate>> FindCandidates(const accounts::Account &user,
                                                   const std::vector<WantedSong> &wanted);

} // namespace vexo::catalog
