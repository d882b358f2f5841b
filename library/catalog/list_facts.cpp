#include "catalog/list_facts.h"
#include "playlists/playlist_content.h"
#include "playlists/read_playlist.h"
#include "playlists/version.h"
#include "system/log.h"
#include "system/paths.h"
#include <array>
#include <charconv>
#include <chrono>
#include <cstring>
#include <exception>
#include <fcntl.h>
#include <unistd.h>

namespace vexo::catalog {
namespace {

constexpr std::size_t kVersionDigits = 32;
/// States with the same hash have this many slots, side by side.
constexpr std::size_t kWays = 4;
constexpr std::size_t kSets = std::size_t{1} << 14U;
constexpr mode_t kStoreMode = 0600;

struct Slot {
  std::array<char, kVersionDigits> state, version;
  double duration_seconds;
  uint64_t entries;
  std::array<char, kVersionDigits> check; ///< the version of all before it
};
using Set = std::array<Slot, kWays>;

std::array<char, kVersionDigits> Digits(std::string_view bytes) {
  std::array<char, kVersionDigits> digits{};
  playlists::ContentVersion(bytes).copy(digits.data(), digits.size());
  return digits;
}

std::array<char, kVersionDigits> CheckOf(const Slot &slot) {
  return Digits({reinterpret_cast<const char *>(&slot), offsetof(Slot, check)});
}

std::array<char, kVersionDigits> HashOf(const FileState &state) {
  std::string text;
  AppendState(text, state);
  return Digits(text);
}

/// Where in the file the set for a state begins.
off_t OffsetOf(const std::array<char, kVersionDigits> &state) {
  constexpr std::size_t kDigits = 8;
  uint32_t number = 0;
  std::from_chars(state.data(), state.data() + kDigits, number, 16);
  return static_cast<off_t>((number % kSets) * sizeof(Set));
}

/// The slots there; what was never written is zero.
Set ReadSet(int file, off_t offset) {
  Set set{};
  (void)!pread(file, &set, sizeof set, offset);
  return set;
}

bool Holds(const Slot &slot, const std::array<char, kVersionDigits> &state) {
  return slot.state == state && slot.check == CheckOf(slot);
}

/// The slot of a set that a state's facts go to: its own, a free one, or one by chance.
std::size_t ChooseSlot(const Set &set, const std::array<char, kVersionDigits> &state) {
  for (std::size_t way = 0; way < kWays; ++way) {
    if (set[way].state == state || set[way].check != CheckOf(set[way])) {
      return way;
    }
  }
  return static_cast<unsigned char>(state.back()) % kWays;
}

/// Whether a file was changed so long ago that a change from now on has another time.
bool IsSettled(const FileState &state) {
  constexpr std::chrono::nanoseconds kTick = std::chrono::seconds(1);
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  return std::chrono::nanoseconds(state.changed_ns) + kTick < now;
}

} // namespace

ListFacts FactsOf(std::string_view bytes, const std::string &path) {
  playlists::PlaylistContent content(bytes, path);
  ListFacts facts{.version = playlists::ContentVersion(bytes),
                  .size_bytes = bytes.size(),
                  .entries = static_cast<uint32_t>(content.size())};
  for (std::size_t i = 0; i < content.size(); ++i) {
    facts.duration_seconds += content.At(i).duration_seconds;
  }
  return facts;
}

FactsStore::FactsStore(const std::string &path)
    : file_(open(path.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, kStoreMode)) {}

std::optional<ListFacts> FactsStore::Find(const FileState &state) const {
  const auto hash = HashOf(state);
  for (const Slot &slot : ReadSet(file_.get(), OffsetOf(hash))) {
    if (Holds(slot, hash)) {
      return ListFacts{.version = std::string(slot.version.data(), kVersionDigits),
                       .size_bytes = state.size_bytes,
                       .entries = static_cast<uint32_t>(slot.entries),
                       .duration_seconds = slot.duration_seconds};
    }
  }
  return std::nullopt;
}

void FactsStore::Keep(const FileState &state, const ListFacts &facts) const {
  if (state.is_link || facts.size_bytes != state.size_bytes || !IsSettled(state)) {
    return;
  }
  Slot slot{};
  slot.state = HashOf(state);
  facts.version.copy(slot.version.data(), kVersionDigits);
  slot.duration_seconds = facts.duration_seconds;
  slot.entries = facts.entries;
  slot.check = CheckOf(slot);
  const off_t set = OffsetOf(slot.state);
  const std::size_t way = ChooseSlot(ReadSet(file_.get(), set), slot.state);
  (void)!pwrite(file_.get(), &slot, sizeof slot, set + static_cast<off_t>(way * sizeof slot));
}

FactsReader::FactsReader() : store_(system::kPlaylistFacts) {}

std::optional<ListFacts> FactsReader::Of(const Playlist &playlist) {
  if (!playlist.file.is_there) {
    return std::nullopt;
  }
  if (std::optional<ListFacts> known = store_.Find(playlist.file)) {
    return known;
  }
  try {
    const std::optional<std::string> bytes = playlists::ReadPlaylist(playlist.path);
    if (!bytes) {
      return std::nullopt;
    }
    ListFacts facts = FactsOf(*bytes, playlist.path);
    store_.Keep(playlist.file, facts);
    return facts;
  } catch (const std::exception &error) {
    system::LogFailure(playlist.path.c_str(), error.what());
    return std::nullopt;
  }
}

} // namespace vexo::catalog
