#pragma once
// Between the index's rows and the records of vexo/media_info.h.

#include "index/media_index.h"
#include "playlists/entries.h"
#include "playlists/m3u.h"
#include "vexo/media_info.h"
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string_view>
#include <vector>

namespace vexo::host {

/// Fills a text field of `size` bytes, terminated; what does not fit is cut off, never inside a
/// UTF-8 character.
void CopyText(char *field, std::size_t size, std::string_view text);

template <std::size_t Size> void CopyText(char (&field)[Size], std::string_view text) {
  CopyText(field, Size, text);
}

/// Fill a record that is all zero. A path that is too long stays empty, as a cut one would name
/// another file. A song's times stay unknown: nobody reads them, and ten thousand ctime() texts
/// cost as much as looking the songs up.
void FillRecord(__tag_VEXO_MEDIA_INFO &record, const index::SongView &song);
inline void FillRecord(__tag_VEXO_MEDIA_INFO &record, const index::Song &song) {
  FillRecord(record, index::ViewOf(song));
}
void FillRecord(__tag_VEXO_MEDIA_INFO &record, const index::Playlist &playlist);

/// The same from an entry of a playlist file and the song that the index has at its path, or null.
/// What the index knows goes before what the file says.
void FillRecord(__tag_VEXO_MEDIA_INFO &record, const playlists::Entry &entry,
                const index::Song *song);

/// The row of an owner that a playlist's record describes.
index::Playlist PlaylistOf(const __tag_VEXO_MEDIA_INFO &record, int owner);

/// The first `count` songs of a list (all, when it is shorter) as entries to write: views of its
/// records.
std::vector<playlists::NewEntry> NewEntries(const VEXOPlaylistRec *songs,
                                            std::size_t count = SIZE_MAX);

struct SongListFree {
  void operator()(VEXOPlaylistRec *head) const { VEXOPlaylistRecFree(head); }
};
using SongList = std::unique_ptr<VEXOPlaylistRec, SongListFree>;

/// Makes room for a list of `count` songs. Ten thousand of them take 55 MB; to be given these in
/// small pages, one by one, takes longer than looking the songs up. Best called before the look-up,
/// whose result then comes out of the same room.
void ReserveSongs(std::size_t count) noexcept;

/// A list under construction. Throws std::bad_alloc.
class SongListBuilder {
public:
  /// A new record at the end, all of it empty.
  __tag_VEXO_MEDIA_INFO &Append();
  [[nodiscard]] SongList Take() { return std::move(list_); }

private:
  SongList list_;
  VEXOPlaylistRec *last_ = nullptr;
};

/// The songs as a list, in their order; null for none. Throws std::bad_alloc.
SongList MakeSongList(const std::vector<index::Song> &songs);
SongList MakeSongList(const playlists::EntrySongs &songs);
/// A list of `count` records, each filled, when it is all zero, by `fill`.
SongList
MakeSongList(std::size_t count,
             const std::function<void(__tag_VEXO_MEDIA_INFO &record, std::size_t position)> &fill);

} // namespace vexo::host
