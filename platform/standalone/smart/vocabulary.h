#pragma once
// The words of the rule language that reading and printing share.

#include "smart/rule.h"
#include <array>
#include <string_view>

namespace vexo::smart {

enum class FieldType { kText, kNumber, kTime };

struct FieldWord {
  std::string_view word;
  index::Field field;
  FieldType type;
};

inline constexpr std::array<FieldWord, 22> kFields = {{
    {"title", index::Field::kTitle, FieldType::kText},
    {"artist", index::Field::kArtist, FieldType::kText},
    {"album", index::Field::kAlbum, FieldType::kText},
    {"album_artist", index::Field::kAlbumArtist, FieldType::kText},
    {"genre", index::Field::kGenre, FieldType::kText},
    {"composer", index::Field::kComposer, FieldType::kText},
    {"comment", index::Field::kComment, FieldType::kText},
    {"path", index::Field::kPath, FieldType::kText},
    {"type", index::Field::kType, FieldType::kText},
    {"year", index::Field::kYear, FieldType::kNumber},
    {"track", index::Field::kTrack, FieldType::kNumber},
    {"disc", index::Field::kDisc, FieldType::kNumber},
    {"bitrate", index::Field::kBitrate, FieldType::kNumber},
    {"samplerate", index::Field::kSampleRate, FieldType::kNumber},
    {"channels", index::Field::kChannels, FieldType::kNumber},
    {"song_length", index::Field::kSongLength, FieldType::kNumber},
    {"file_size", index::Field::kFileSize, FieldType::kNumber},
    {"rating", index::Field::kRating, FieldType::kNumber},
    {"play_count", index::Field::kPlayCount, FieldType::kNumber},
    {"compilation", index::Field::kCompilation, FieldType::kNumber},
    {"time_added", index::Field::kTimeAdded, FieldType::kTime},
    {"time_modified", index::Field::kTimeModified, FieldType::kTime},
}};

struct AnchorWords {
  std::string_view first, second; ///< `second` is empty when one word says it
  Date::Anchor anchor;
};

inline constexpr std::array<AnchorWords, 8> kAnchors = {{
    {"today", "", Date::Anchor::kToday},
    {"yesterday", "", Date::Anchor::kYesterday},
    {"this", "week", Date::Anchor::kThisWeek},
    {"this", "month", Date::Anchor::kThisMonth},
    {"this", "year", Date::Anchor::kThisYear},
    {"last", "week", Date::Anchor::kLastWeek},
    {"last", "month", Date::Anchor::kLastMonth},
    {"last", "year", Date::Anchor::kLastYear},
}};

struct UnitWords {
  std::string_view one, many;
  Unit unit;
};

inline constexpr std::array<UnitWords, 4> kUnits = {{
    {"day", "days", Unit::kDay},
    {"week", "weeks", Unit::kWeek},
    {"month", "months", Unit::kMonth},
    {"year", "years", Unit::kYear},
}};

} // namespace vexo::smart
