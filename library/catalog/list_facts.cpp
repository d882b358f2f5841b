#include "catalog/list_facts.h"
#include "catalog/list_entries.h"
#include "index/media_index.h"
#include "playlists/entry_paths.h"
#include "playlists/playlist_content.h"
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
  uint32_t entries, untold;
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

std::array<char, kVersionDigits> HashOf(const FileState &state, std::string_view circumstances) {
  std::string text(circumstances);
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
    const playlists::ContentEntry entry = content.At(i);
    facts.duration_seconds += entry.duration_seconds;
    facts.untold += entry.duration_seconds > 0 || playlists::IsStreamAddress(entry.path) ? 0 : 1;
  }
  return facts;
}

FactsStore::FactsStore(const std::string &path)
    : file_(open(path.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, kStoreMode)) {}

std::optional<ListFacts> FactsStore::Find(const FileState &state,
                                          std::string_view circumstances) const {
  const auto hash = HashOf(state, circumstances);
  for (const Slot &slot : ReadSet(file_.get(), OffsetOf(hash))) {
    if (Holds(slot, hash)) {
      return ListFacts{.version = std::string(slot.version.data(), kVersionDigits),
                       .size_bytes = state.size_bytes,
                       .entries = slot.entries,
                       .duration_seconds = slot.duration_seconds,
                       .untold = slot.untold};
    }
  }
  return std::nullopt;
}

void FactsStore::Keep(const FileState &state, const ListFacts &facts,
                      std::string_view circumstances) const {
  if (state.is_link || facts.size_bytes != state.size_bytes || !IsSettled(state)) {
    return;
  }
  Slot slot{};
  slot.state = HashOf(state, circumstances);
  facts.version.copy(slot.version.data(), kVersionDigits);
  slot.duration_seconds = facts.duration_seconds;
  slot.entries = facts.entries;
  slot.untold = facts.untold;
  slot.check = CheckOf(slot);
  const off_t set = OffsetOf(slot.state);
  const std::size_t way = ChooseSlot(ReadSet(file_.get(), set), slot.state);
  (void)!pwrite(file_.get(), &slot, sizeof slot, set + static_cast<off_t>(way * sizeof slot));
}

FactsReader::FactsReader(const accounts::Account &user)
    : user_(user), store_(system::kPlaylistFacts) {}

std::optional<ListFacts> FactsReader::Told(const Playlist &playlist) {
  if (std::optional<ListFacts> known = Known(playlist)) {
    return known;
  }
  const std::optional<std::string> bytes = ReadList(playlist);
  if (!bytes) {
    return std::nullopt;
  }
  ListFacts facts = FactsOf(*bytes, playlist.path);
  store_.Keep(playlist.file, facts);
  return facts;
}

ListFacts FactsReader::WithLengths(const Playlist &playlist, ListFacts facts) {
  if (circumstances_.empty()) {
    circumstances_ =
        std::to_string(index::ProcessIndex().Revision()) + " " + std::to_string(user_.id) + " ";
  }
  if (std::optional<ListFacts> known = store_.Find(playlist.file, circumstances_)) {
    return *std::move(known);
  }
  List list(ReadList(playlist).value_or(""), playlist.path);
  const std::vector<ListEntry> entries = list.Entries(0, list.size());
  const SongsAtPaths songs(user_, entries);
  for (const ListEntry &entry : entries) {
    const bool is_untold = entry.duration_seconds <= 0 && !entry.is_stream;
    const index::Song *const song = is_untold ? songs.Find(entry.path) : nullptr;
    facts.duration_seconds += song == nullptr ? 0 : song->duration_seconds;
  }
  store_.Keep(playlist.file, facts, circumstances_);
  return facts;
}

std::optional<ListFacts> FactsReader::Of(const Playlist &playlist) {
  if (!playlist.file.is_there) {
    return std::nullopt;
  }
  try {
    std::optional<ListFacts> told = Told(playlist);
    return told && told->untold > 0 ? WithLengths(playlist, *std::move(told)) : told;
  } catch (const std::exception &error) {
    system::LogFailure(playlist.path.c_str(), error.what());
    return std::nullopt;
  }
}

} // namespace vexo::catalog
