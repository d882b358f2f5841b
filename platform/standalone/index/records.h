#pragma once
// Between the index's rows and the records of vexo/media_info.h.

#include "index/media_index.h"
#include "vexo/media_info.h"
#include <cstddef>
#include <functional>
#include <memory>
#include <string_view>
#include <vector>

namespace vexo::index {

/// Fills a text field of `size` bytes, terminated; what does not fit is cut off, never inside a
/// UTF-8 character.
void CopyText(char *field, std::size_t size, std::string_view text);

template <std::size_t Size> void CopyText(char (&field)[Size], std::string_view text) {
  CopyText(field, Size, text);
}

/// Fill a record that is all zero. A path that is too long stays empty, as a cut one would name
/// another file. A song's times stay unknown: nobody reads them, and ten thousand ctime() texts
/// cost as much as looking the songs up.
void FillRecord(__tag_VEXO_MEDIA_INFO &record, const Song &song);
void FillRecord(__tag_VEXO_MEDIA_INFO &record, const Playlist &playlist);

/// The row of an owner that a playlist's record describes.
Playlist PlaylistOf(const __tag_VEXO_MEDIA_INFO &record, int owner);

struct SongListFree {
  void operator()(VEXOPlaylistRec *head) const { VEXOPlaylistRecFree(head); }
};
using SongList = std::unique_ptr<VEXOPlaylistRec, SongListFree>;

/// The songs as a list, in their order; null for none. Throws std::bad_alloc.
SongList MakeSongList(const std::vector<Song> &songs);
/// A list of `count` records, each filled, when it is all zero, by `fill`.
SongList
MakeSongList(std::size_t count,
             const std::function<void(__tag_VEXO_MEDIA_INFO &record, std::size_t position)> &fill);

} // namespace vexo::index
