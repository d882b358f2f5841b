#pragma once
#include <cstdint>
#include <optional>
#include <string>

namespace vexo::tools {

/// What the header of an audio file tells.
struct AudioHeader {
  double duration_seconds = 0;
  uint32_t bitrate = 0, sample_rate = 0, channels = 0; ///< bit/s, Hz, count
  std::optional<int64_t> id3v2;                        ///< where such a tag may begin
};

/// Reads the header of a format that TagLib does not know: AAC in ADTS frames, DSF, DSDIFF, and
/// WAV or RF64 whose writer could not go back to fill in the length. They are told by their first
/// bytes; nothing for everything else. What a damaged header does not tell stays 0. Reads a bounded
/// part of the file.
std::optional<AudioHeader> ReadAudioHeader(const std::string &path);

} // namespace vexo::tools
