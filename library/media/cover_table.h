#pragma once
// Which picture a song has, as it was found: one file of fixed places, which is never larger than
// 64 MiB and may be lost. A place that is wanted for another song is given away.

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace vexo::media {

/// What a song's file is called and is: another one when either changes.
using SongKey = std::array<uint8_t, 16>;
SongKey MakeSongKey(std::string_view text);

using PictureHash = std::array<uint8_t, 16>;

struct FoundPicture {
  enum class Kind : uint8_t {
    kNone,     ///< neither in the song nor beside it is one that can be read
    kEmbedded, ///< in the song
    kBeside,   ///< in the file `name` of the song's folder
  };
  static constexpr std::size_t kLongestName = 15;

  Kind kind = Kind::kNone;
  PictureHash hash{}; ///< of the picture's content
  uint64_t state = 0; ///< of the folder, and of the file `name`: see covers.cpp
  std::string name;   ///< kLongestName bytes at most

  friend bool operator==(const FoundPicture &, const FoundPicture &) = default;
};

/// What was found for that song the last time; nothing when it is not known.
std::optional<FoundPicture> FindPicture(const std::string &table, const SongKey &song);

/// Remembers it. A table that cannot be written is as good as none.
void RememberPicture(const std::string &table, const SongKey &song, const FoundPicture &found);

} // namespace vexo::media
