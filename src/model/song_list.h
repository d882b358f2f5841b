#pragma once
// Lists of songs as the host takes them, chains of nodes that are made with calloc(), and playlist
// files that the host has loaded.

#include "vexo/audio_file.h"
#include "vexo/media_info.h"
#include <memory>
#include <string>

struct SongListDeleter {
  void operator()(VEXOPlaylistRec *head) const { VEXOPlaylistRecFree(head); }
};
/// Owns a song list.
using SongList = std::unique_ptr<VEXOPlaylistRec, SongListDeleter>;

struct AudioPlaylistDeleter {
  void operator()(AudioPlaylist *playlist) const { playlist->Release(); }
};
/// Owns a loaded playlist file.
using LoadedPlaylist = std::unique_ptr<AudioPlaylist, AudioPlaylistDeleter>;

/// A node of zeroes for a song list; null when there is no memory.
[[nodiscard]] VEXOPlaylistRec *NewSong();

/// Builds a song list from its head on. The list is the caller's at every moment.
class SongListBuilder {
public:
  /// `*head` must be null.
  explicit SongListBuilder(VEXOPlaylistRec **head) : link_(head) {}

  /// Makes a single node the last one.
  void Append(VEXOPlaylistRec *node);
  /// A new last node of zeroes; null, with a log line, when there is no memory.
  [[nodiscard]] VEXOPlaylistRec *AppendNew();
  [[nodiscard]] int count() const { return count_; }

private:
  VEXOPlaylistRec **link_; ///< where the next node goes
  int count_ = 0;
};

/// All songs of a playlist file, with all that is known of them; `*count` becomes their number.
/// Null: there are none, or the file cannot be read and `*count` stays as it is.
[[nodiscard]] SongList ReadPlaylistFile(const std::string &path, int *count);
