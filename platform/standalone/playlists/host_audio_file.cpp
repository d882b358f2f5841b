// vexo/audio_file.h: playlist files as a whole.
#include "index/library_owner.h"
#include "index/media_index.h"
#include "playlists/entries.h"
#include "playlists/new_files.h"
#include "playlists/read_playlist.h"
#include "playlists/required.h"
#include "system/boundary.h"
#include "vexo/audio_file.h"
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

using vexo::playlists::Required;
using vexo::system::Guarded;
namespace playlists = vexo::playlists;

namespace {

/// The records in one piece of memory.
class LoadedPlaylist : public AudioPlaylist {
public:
  explicit LoadedPlaylist(const playlists::EntryRecords &entries) : records_(entries.size()) {
    for (std::size_t i = 0; i < entries.size(); ++i) {
      entries.Fill(records_[i], i);
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

AudioPlaylist *AudioFile::PlaylistFileLoad(const char *path, int offset, int limit) {
  AudioPlaylist *const failed = nullptr;
  return Guarded("AudioFile::PlaylistFileLoad", failed, [&]() -> AudioPlaylist * {
    const auto stretch = playlists::Stretch::Of(offset, limit);
    const auto content = playlists::ReadTemporaryPlaylist(Required(path));
    if (!content) {
      return nullptr;
    }
    const playlists::EntryRecords records(playlists::ReadEntries(*content, path, stretch));
    return std::make_unique<LoadedPlaylist>(records).release();
  });
}

int AudioFile::PlaylistRandomCreate(const char *library, int userId, const char *path, int count) {
  return Guarded("AudioFile::PlaylistRandomCreate", 0, [&] {
    if (count <= 0) {
      throw std::invalid_argument("no songs are asked for");
    }
    const int owner = vexo::index::LibraryOwner(library, userId);
    const auto songs = vexo::index::ProcessIndex().RandomSongs(owner, count);
    if (songs.empty()) {
      throw std::runtime_error("the library has no songs");
    }
    playlists::WriteTemporaryPlaylist(songs, Required(path));
    return 1;
  });
}
