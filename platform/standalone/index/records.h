#pragma once
// Between the index's rows and the records of vexo/media_info.h.

#include "index/media_index.h"
#include "vexo/media_info.h"
#include <cstddef>
#include <string_view>

namespace vexo::index {

/// Fills a text field of `size` bytes, terminated; what does not fit is cut off, never inside a
/// UTF-8 character.
void CopyText(char *field, std::size_t size, std::string_view text);

template <std::size_t Size> void CopyText(char (&field)[Size], std::string_view text) {
  CopyText(field, Size, text);
}

/// Fill a record that is all zero.
void FillRecord(__tag_VEXO_MEDIA_INFO &record, const Song &song);
void FillRecord(__tag_VEXO_MEDIA_INFO &record, const Playlist &playlist);

/// The row of an owner that a playlist's record describes.
Playlist PlaylistOf(const __tag_VEXO_MEDIA_INFO &record, int owner);

} // namespace vexo::index
