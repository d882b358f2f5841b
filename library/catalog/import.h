#pragma once
// Playlists of other programs and machines, held against the songs that are here.

#include "accounts/accounts.h"
#include "catalog/candidates.h"
#include "catalog/xspf.h"
#include "index/media_index.h"
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace vexo::catalog {

/// How the song of an entry was found.
enum class Match {
  kNone,
  kStream,   ///< it needs none
  kPath,     ///< at the entry's path, or at that path inside a library
  kTail,     ///< by the end of the path: the file's name and the folder above it
  kFileName, ///< by the file's name, and by what else the entry tells
  kTags,     ///< by title and artist
};

struct ImportedEntry {
  ForeignTrack track; ///< its location is an address, or a path
  Match match = Match::kNone;
  std::shared_ptr<const index::Song> song{}; ///< null for kNone and kStream
  double score = 0;                          ///< of a song, from kLikelyScore to 1
  std::vector<Candidate> candidates{};       ///< of kNone: some songs that it might mean
};

/// So many of them.
inline constexpr std::size_t kImportCandidates = 3;

/// The entries of an M3U or PLS file. Throws playlists::UnreadableError.
std::vector<ForeignTrack> ParseList(const std::string &bytes);

/// Finds the songs of tracks that are named by addresses (also of files) or by paths. `visit` gets
/// one after the other: those of a long list, with their candidates, take a gigabyte.
void MatchTracks(const accounts::Account &user, std::vector<ForeignTrack> tracks,
                 const std::function<void(const ImportedEntry &)> &visit);

/// The path or address that a URI or relative reference (RFC 3986) stands for.
std::string LocationOfUri(std::string_view uri);

} // namespace vexo::catalog
