#include "media/cover_table.h"

#include "files/file_descriptor.h"
#include "system/log.h"
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#define XXH_INLINE_ALL
#include <xxhash.h>

namespace vexo::media {
namespace {

/// A place as it lies in the file. The checksum tells one that two processes wrote at once.
struct Place {
  SongKey song;
  PictureHash hash;
  uint64_t state;
  uint8_t kind;
  std::array<char, FoundPicture::kLongestName> name;
  uint64_t checksum;
};
static_assert(sizeof(Place) == 64);

/// A song has the choice between the places of one row.
constexpr std::size_t kPlaces = 4, kRows = std::size_t{1} << 18U;
using PlaceRow = std::array<Place, kPlaces>;

uint64_t ChecksumOf(const Place &place) { return XXH3_64bits(&place, offsetof(Place, checksum)); }

bool IsOf(const Place &place, const SongKey &song) {
  return place.song == song && place.checksum == ChecksumOf(place) &&
         place.kind <= static_cast<uint8_t>(FoundPicture::Kind::kBeside);
}

off_t RowOf(const SongKey &song) {
  uint64_t number = 0;
  std::memcpy(&number, song.data(), sizeof number);
  return static_cast<off_t>(number % kRows * sizeof(PlaceRow));
}

/// Empty where nothing was written yet.
PlaceRow ReadRow(const files::FileDescriptor &file, const SongKey &song) {
  PlaceRow row{};
  if (!file || pread(file.get(), row.data(), sizeof row, RowOf(song)) < 0) {
    return {};
  }
  return row;
}

Place PlaceOf(const SongKey &song, const FoundPicture &found) {
  Place place{song, found.hash, found.state, static_cast<uint8_t>(found.kind), {}, 0};
  found.name.copy(place.name.data(), place.name.size());
  place.checksum = ChecksumOf(place);
  return place;
}

/// The place of that song, else one that is free, else any.
std::size_t ChoosePlace(const PlaceRow &row, const SongKey &song) {
  const auto same =
      std::find_if(row.begin(), row.end(), [&](const Place &place) { return IsOf(place, song); });
  if (same != row.end()) {
    return static_cast<std::size_t>(same - row.begin());
  }
  const auto free =
      std::find_if(row.begin(), row.end(), [](const Place &place) { return place.checksum == 0; });
  return free != row.end() ? static_cast<std::size_t>(free - row.begin()) : song.back() % kPlaces;
}

} // namespace

SongKey MakeSongKey(std::string_view text) {
  XXH128_canonical_t canonical;
  XXH128_canonicalFromHash(&canonical, XXH3_128bits(text.data(), text.size()));
  SongKey key{};
  std::copy(std::begin(canonical.digest), std::end(canonical.digest), key.begin());
  return key;
}

std::optional<FoundPicture> FindPicture(const std::string &table, const SongKey &song) {
  const files::FileDescriptor file(open(table.c_str(), O_RDONLY | O_CLOEXEC));
  const PlaceRow row = ReadRow(file, song);
  const auto place =
      std::find_if(row.begin(), row.end(), [&](const Place &each) { return IsOf(each, song); });
  if (place == row.end()) {
    return std::nullopt;
  }
  const auto name_end = std::find(place->name.begin(), place->name.end(), '\0');
  return FoundPicture{static_cast<FoundPicture::Kind>(place->kind), place->hash, place->state,
                      std::string(place->name.begin(), name_end)};
}

void RememberPicture(const std::string &table, const SongKey &song, const FoundPicture &found) {
  constexpr mode_t kMode = 0600;
  const files::FileDescriptor file(
      open(table.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, kMode));
  if (!file || found.name.size() > FoundPicture::kLongestName) {
    return;
  }
  const std::size_t number = ChoosePlace(ReadRow(file, song), song);
  const Place place = PlaceOf(song, found);
  const off_t offset = RowOf(song) + static_cast<off_t>(number * sizeof(Place));
  if (pwrite(file.get(), &place, sizeof place, offset) != sizeof place) {
    system::LogFailure("remembering the picture of a song", std::strerror(errno));
  }
}

} // namespace vexo::media
