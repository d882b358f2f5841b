#pragma once
#include "api/answer.h"
#include "index/media_index.h"
#include "media/transcoder.h"

namespace vexo::api {

/// A song that is open as `file`, in another format: sent while it is made, or why it is not.
Answer SendTranscoded(const index::Song &song, int file, const media::Transcoding &how);

} // namespace vexo::api
