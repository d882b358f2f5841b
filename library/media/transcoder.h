#pragma once
// Songs in another format, made by ffmpeg while they are heard.

#include "files/file_descriptor.h"
#include "system/child_program.h"
#include <optional>
#include <string>
#include <string_view>

namespace vexo::media {

struct Transcoding {
  std::string_view format; ///< "opus" (in Ogg) or "mp3"
  int bitrate_kbit = 0;    ///< 64 to 320
  int offset_seconds = 0;  ///< where in the song it begins
  bool copies = false;     ///< the song is of that format: nothing is encoded anew
};

/// Whether this machine transcodes: ffmpeg is there (`ffmpeg` in [transcoding] of the
/// configuration, /usr/bin/ffmpeg), and `at_once` there is not 0.
bool CanTranscode();

/// The right to one of the `at_once` (2) transcodings of this machine, for as long as the
/// descriptor is open; nothing when all are taken. Throws std::system_error.
std::optional<files::FileDescriptor> TakeTranscoding();

/// Starts transcoding the song that is open as `song`. It opens nothing else: neither what names in
/// the song may lead to, nor addresses. Throws std::system_error.
class Transcoder : public system::ChildProgram {
public:
  Transcoder(const Transcoding &how, int song);
};

} // namespace vexo::media
