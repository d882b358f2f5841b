#pragma once
#include "accounts/accounts.h"
#include "index/media_index.h"
#include "media/kept_covers.h"
#include <variant>

namespace vexo::media {

/// Why there is no cover.
enum class NoCover {
  kNoSong,    ///< the song's file is not there, or not of the user's libraries
  kNoPicture, ///< it has none that can be read, nor has its folder
  kBusy,      ///< too many are being made: ask again soon
  kFailed,    ///< it could not be made now; the log says why
};

/// The cover of a song, which is kept (OpenCover of system::kCovers) in `size`, one of kCoverSizes,
/// or is made and kept now in all sizes: of the picture in the song, else of that beside it. What
/// was found is remembered for as long as song, folder and picture stay as they are. Throws
/// std::system_error.
std::variant<CoverName, NoCover> CoverOf(const index::Song &song, const accounts::Account &user,
                                         int size);

} // namespace vexo::media
