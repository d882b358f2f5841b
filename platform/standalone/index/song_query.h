#pragma once
// A question to the index about songs, free of any engine's language.

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace vexo::index {

enum class Field {
  // Texts; one that is not known counts as empty.
  kTitle,
  kArtist,
  kAlbum,
  kAlbumArtist,
  kGenre,
  kComposer,
  kComment,
  kPath,
  kType,
  // Numbers.
  kYear,
  kTrack,
  kDisc,
  kBitrate,
  kSampleRate,
  kChannels,
  kSongLength, // whole seconds, what is beyond them dropped
  kFileSize,
  kRating,
  kPlayCount,
  kCompilation, // 1 or 0
  // Times, in seconds since 1970.
  kTimeAdded,
  kTimeModified,
};

enum class Comparison {
  kIs,
  kIncludes,
  kStartsWith,
  kEndsWith, // texts, ignoring case; % and _ are plain characters
  kEqual,
  kNotEqual,
  kLess,
  kLessEqual,
  kGreater,
  kGreaterEqual, // numbers and times
};

/// A tree of conditions. And, or: over `children` (two or more); not: of the one child; test: of
/// `field`. Users write these: nesting of 200 levels and some thousand children of one node are
/// ordinary, and an engine whose own language bounds either must find another way to say it.
struct Condition {
  enum class Kind { kAnd, kOr, kNot, kTest };
  Kind kind = Kind::kTest;
  std::vector<Condition> children;
  Field field = Field::kTitle;
  Comparison comparison = Comparison::kIs;
  std::string text;   ///< for text fields
  int64_t number = 0; ///< for numbers and times
};

struct SongQuery {
  int user = 0;                   ///< whose marks kRating and kPlayCount tell of; 0: nobody's
  bool with_shared = false;       ///< the songs of the shared library too, besides the owner's
  std::optional<Condition> where; ///< nothing: every song
  bool random = false;            ///< uniform order
  std::optional<Field> order;     ///< nothing: by id
  bool ascending = true;
  int64_t offset = 0, limit = 0; ///< which of them; a limit of 0: all from there on
};

/// How many songs a query chooses, and how long they play.
struct SongTotals {
  int64_t songs = 0;
  double duration_seconds = 0;
};

} // namespace vexo::index
