// Personal folders, playlist files as a whole, and smart playlists as lists of songs.
#include "vexo/audio_file.h"

#include "accounts/accounts.h"
#include "host/arguments.h"
#include "host/guard.h"
#include "host/records.h"
#include "index/media_index.h"
#include "playlists/entries.h"
#include "playlists/read_playlist.h"
#include "playlists/write_playlist.h"
#include "smart/smart_songs.h"
#include "system/paths.h"
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

using namespace vexo;
using namespace vexo::host;

namespace {

/// The records in one piece of memory.
class LoadedPlaylist : public AudioPlaylist {
public:
  explicit LoadedPlaylist(const playlists::EntrySongs &songs) : records_(songs.size()) {
    for (std::size_t i = 0; i < songs.size(); ++i) {
      FillRecord(records_[i], songs.entry(i), songs.song(i));
      pointers_.push_back(&records_[i]);
    }
    begin = pointers_.data();
    end = begin + pointers_.size();
  }
  void Release() override { delete this; }

private:
  std::vector<__tag_VEXO_MEDIA_INFO> records_;
  std::vector<__tag_VEXO_MEDIA_INFO *> pointers_;
};

} // namespace

int AudioFile::GetPersonalLibraryFolderPath(const char *userName, char *buffer, int size) {
  return Guarded(0, [&] {
    const auto account =
        userName == nullptr ? std::nullopt : accounts::FindAccount(std::string_view(userName));
    if (!account || !account->personal_library || buffer == nullptr) {
      return 0;
    }
    return CopyOut(account->personal_folder.c_str(), buffer, size) ? 1 : 0;
  });
}

AudioPlaylist *AudioFile::PlaylistFileLoad(const char *path, int offset, int limit) {
  return GuardedRead(nullptr, [&]() -> AudioPlaylist * {
    const auto range = playlists::Range::Of(offset, limit);
    const auto content = playlists::ReadTemporaryPlaylist(Required(path));
    if (!content) {
      return nullptr;
    }
    const playlists::EntrySongs songs(playlists::ReadEntries(*content, path, range));
    return std::make_unique<LoadedPlaylist>(songs).release();
  });
}

int AudioFile::PlaylistRandomCreate(const char *library, int userId, const char *path, int count) {
  return GuardedRead(0, [&] {
    if (count <= 0) {
      throw std::invalid_argument("no songs are asked for");
    }
    const int owner = LibraryOwner(library, userId);
    const auto songs = index::ProcessIndex().RandomSongs(owner, count);
    if (songs.empty()) {
      throw std::runtime_error("the library has no songs");
    }
    playlists::WriteTemporaryPlaylist(songs, Required(path));
    return 1;
  });
}

int VexoAudioUtils::SmartPLSListSongs(const char *name, int offset, int limit, int *count,
                                      std::list<__tag_VEXO_MEDIA_INFO> &songs,
                                      const char *rulesFile, [[maybe_unused]] bool refresh) {
  return GuardedRead(-1, [&] {
    const std::string file = rulesFile == nullptr ? system::kSharedSmartRules : rulesFile;
    const auto found = smart::ListSongs(file, Required(name), offset, limit);
    if (!found) {
      return -1;
    }
    if (count != nullptr) {
      *count = static_cast<int>(found->size());
    }
    std::list<__tag_VEXO_MEDIA_INFO> records;
    for (const index::Song &song : *found) {
      FillRecord(records.emplace_back(), song);
    }
    songs.splice(songs.end(), records);
    return 0;
  });
}
