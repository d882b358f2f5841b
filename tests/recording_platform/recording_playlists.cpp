#include "recording_platform/recording_host.h"
#include "vexo/audio_file.h"
#include "vexo/playlist_file.h"
#include <unordered_set>

using recording::Scripted;
using recording::Show;
using recording::TheHost;

namespace {

class LoadedPlaylist;
/// What the program has not released: a test counts it (Host::open_files), leak checkers need not.
auto *const lent_playlists = new std::unordered_set<LoadedPlaylist *>;

/// A loaded file that owns its records.
class LoadedPlaylist : public AudioPlaylist {
public:
  explicit LoadedPlaylist(std::vector<__tag_VEXO_MEDIA_INFO> records)
      : records_(std::move(records)) {
    for (__tag_VEXO_MEDIA_INFO &record : records_) {
      pointers_.push_back(&record);
    }
    begin = pointers_.data();
    end = begin + pointers_.size();
    lent_playlists->insert(this);
    ++TheHost().open_files;
  }
  LoadedPlaylist(const LoadedPlaylist &) = delete;
  LoadedPlaylist &operator=(const LoadedPlaylist &) = delete;
  ~LoadedPlaylist() override {
    lent_playlists->erase(this);
    --TheHost().open_files;
  }
  void Release() override {
    TheHost().Record("Release", {});
    delete this;
  }

private:
  std::vector<__tag_VEXO_MEDIA_INFO> records_;
  std::vector<__tag_VEXO_MEDIA_INFO *> pointers_;
};

} // namespace

int VEXOWriteMusicPlaylist(const VEXOPlaylistRec *songs, const char *path) {
  return Scripted("VEXOWriteMusicPlaylist", {Show(songs), Show(path)});
}

VEXOPlaylistRec *ParsePlayListByFieldGivenPath(const char *path, int *count, int offset, int limit,
                                               const char *fields, int code) {
  const std::string name = "ParsePlayListByFieldGivenPath";
  TheHost().Record(name, {Show(path), Show(offset), Show(limit), Show(fields), Show(code)});
  if (!TheHost().records.contains(name)) {
    return nullptr;
  }
  *count = static_cast<int>(TheHost().records[name].size());
  return TheHost().SongList(name);
}

int VEXOPlaylistAppendSongs(const char *library, int user_id, const char *id,
                            const VEXOPlaylistRec *songs, int count) {
  return Scripted("VEXOPlaylistAppendSongs",
                  {Show(library), Show(user_id), Show(id), Show(songs), Show(count)});
}

int VEXOPlaylistUpdateSongs(const char *library, int user_id, const char *id,
                            const VEXOPlaylistRec *songs, long start, long limit) {
  return Scripted("VEXOPlaylistUpdateSongs",
                  {Show(library), Show(user_id), Show(id), Show(songs), Show(start), Show(limit)});
}

int VEXOPlaylistRemoveSongs(const char *library, int user_id, const char *id,
                            const char *positions) {
  return Scripted("VEXOPlaylistRemoveSongs",
                  {Show(library), Show(user_id), Show(id), Show(positions)});
}

int VEXOPlaylistRemoveMissing(const char *library, int user_id, const char *id) {
  return Scripted("VEXOPlaylistRemoveMissing", {Show(library), Show(user_id), Show(id)});
}

int VEXOPersonalPlaylistAppendSongs(const char *path, const VEXOPlaylistRec *songs, int count) {
  return Scripted("VEXOPersonalPlaylistAppendSongs", {Show(path), Show(songs), Show(count)});
}

int VEXOPersonalPlaylistUpdateSongs(const char *path, const VEXOPlaylistRec *songs, long start,
                                    long limit) {
  return Scripted("VEXOPersonalPlaylistUpdateSongs",
                  {Show(path), Show(songs), Show(start), Show(limit)});
}

int VEXOPersonalPlaylistRemoveSongs(const char *path, const char *positions) {
  return Scripted("VEXOPersonalPlaylistRemoveSongs", {Show(path), Show(positions)});
}

int VEXOPersonalPlaylistRemoveMissing(const char *path) {
  return Scripted("VEXOPersonalPlaylistRemoveMissing", {Show(path)});
}

int AudioFile::GetPersonalLibraryFolderPath(const char *user_name, char *buffer, int size) {
  TheHost().Record("GetPersonalLibraryFolderPath", {Show(user_name), Show(size)});
  TheHost().texts["GetPersonalLibraryFolderPath"] = TheHost().personal_folder;
  TheHost().Fill("GetPersonalLibraryFolderPath", buffer, size);
  return TheHost().personal_folder.empty() ? 0 : 1;
}

AudioPlaylist *AudioFile::PlaylistFileLoad(const char *path, int offset, int limit) {
  TheHost().Record("PlaylistFileLoad", {Show(path), Show(offset), Show(limit)});
  const auto found = TheHost().records.find("PlaylistFileLoad");
  return found == TheHost().records.end() ? nullptr : new LoadedPlaylist(found->second);
}

int AudioFile::PlaylistRandomCreate(const char *library, int user_id, const char *path, int count) {
  TheHost().Record("PlaylistRandomCreate", {Show(library), Show(user_id), Show(path), Show(count)});
  return TheHost().Result("PlaylistRandomCreate", 1);
}

int VexoAudioUtils::SmartPLSListSongs(const char *name, int offset, int limit, int *count,
                                      std::list<__tag_VEXO_MEDIA_INFO> &songs,
                                      const char *rules_file, bool refresh) {
  const std::string function = "SmartPLSListSongs";
  TheHost().Record(function, {Show(name), Show(offset), Show(limit), Show(rules_file),
                              refresh ? "true" : "false"});
  const auto found = TheHost().records.find(function);
  if (found == TheHost().records.end()) {
    return TheHost().Result(function, -1);
  }
  songs.insert(songs.end(), found->second.begin(), found->second.end());
  *count = static_cast<int>(found->second.size());
  return TheHost().Result(function, 0);
}
