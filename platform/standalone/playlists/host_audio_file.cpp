// vexo/audio_file.h: playlist files as a whole.
#include "files/durable_file.h"
#include "files/file_descriptor.h"
#include "files/folder.h"
#include "index/library_owner.h"
#include "index/media_index.h"
#include "playlists/entries.h"
#include "playlists/new_files.h"
#include "playlists/required.h"
#include "system/boundary.h"
#include "vexo/audio_file.h"
#include <cerrno>
#include <fcntl.h>
#include <memory>
#include <stdexcept>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

using vexo::files::FileDescriptor;
using vexo::playlists::Required;
using vexo::system::Guarded;
namespace playlists = vexo::playlists;

namespace {

constexpr std::size_t kMaxBytes = std::size_t{64} << 20;

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

/// Reads a file that lies where others may write: neither their files nor their links count.
std::string ReadOwnFile(const std::string &path) {
  const FileDescriptor file(open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  struct stat facts {};
  if (!file || fstat(file.get(), &facts) != 0) {
    vexo::files::ThrowErrno("cannot open", path);
  }
  if (facts.st_uid != geteuid()) {
    throw std::runtime_error("the file is somebody else's: " + path);
  }
  return vexo::files::ReadWholeFile(file.get(), kMaxBytes);
}

} // namespace

AudioPlaylist *AudioFile::PlaylistFileLoad(const char *path, int offset, int limit) {
  AudioPlaylist *const failed = nullptr;
  return Guarded("AudioFile::PlaylistFileLoad", failed, [&]() -> AudioPlaylist * {
    const auto stretch = playlists::Stretch::Of(offset, limit);
    const std::string content = ReadOwnFile(Required(path));
    const playlists::EntryRecords records(playlists::ReadEntries(content, path, stretch));
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
