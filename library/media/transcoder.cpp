#include "media/transcoder.h"

#include "system/config.h"
#include "system/log.h"
#include "system/slots.h"
#include "text/numbers.h"
#include <chrono>
#include <unistd.h>
#include <vector>

namespace vexo::media {
namespace {

constexpr const char *kSection = "transcoding";
/// Who seeks ends one transcoding and begins the next at once.
constexpr std::chrono::seconds kPatience{2};
/// A song of a day takes less of both, and a damaged one must not take a machine.
constexpr system::ChildLimits kLimits = {
    .memory_bytes = uint64_t{1} << 30U, .cpu_seconds = 3600, .nice = 10};

/// What has sound in it, by ffmpeg's names. What is not here opens further files, as lists of
/// segments do, or is no song.
constexpr const char *kDemuxers = "aac,aiff,ape,asf,caf,dsf,flac,iff,matroska,mov,mp3,mpc,mpc8,"
                                  "ogg,tta,w64,wav,wv";

std::string FfmpegPath() { return system::Setting(kSection, "ffmpeg").value_or("/usr/bin/ffmpeg"); }

int AtOnce() {
  constexpr int64_t kDefault = 2, kMost = 64;
  const std::optional<std::string> value = system::Setting(kSection, "at_once");
  const std::optional<int64_t> number = value ? text::ParseInteger(*value) : kDefault;
  if (!number || *number < 0 || *number > kMost) {
    system::LogFailure("at_once", "in [transcoding] of the configuration is no number that can be; "
                                  "the default holds");
    return kDefault;
  }
  return static_cast<int>(*number);
}

std::vector<std::string> Encoder(const Transcoding &how) {
  if (how.copies) {
    return {"-c:a", "copy"};
  }
  const bool opus = how.format == "opus";
  // Two channels at a usual rate: every bitrate that may be asked for is one of such a sound.
  return {"-c:a", opus ? "libopus" : "libmp3lame",
          "-b:a", std::to_string(how.bitrate_kbit) + "k",
          "-ac",  "2",
          "-ar",  opus ? "48000" : "44100"};
}

std::vector<std::string> Arguments(const Transcoding &how) {
  std::vector<std::string> words = {"-nostdin",
                                    "-v",
                                    "quiet",
                                    "-threads",
                                    "1",
                                    "-protocol_whitelist",
                                    "file,pipe",
                                    "-format_whitelist",
                                    kDemuxers,
                                    "-ss",
                                    std::to_string(how.offset_seconds),
                                    "-i",
                                    "file:/proc/self/fd/0",
                                    "-map",
                                    "0:a:0",
                                    "-map_chapters",
                                    "-1"};
  const std::vector<std::string> encoder = Encoder(how);
  words.insert(words.end(), encoder.begin(), encoder.end());
  words.insert(words.end(), {"-f", std::string(how.format), "pipe:1"});
  return words;
}

} // namespace

bool CanTranscode() { return AtOnce() > 0 && access(FfmpegPath().c_str(), X_OK) == 0; }

std::optional<files::FileDescriptor> TakeTranscoding() {
  return system::TakeSlot(kSection, AtOnce(), kPatience);
}

Transcoder::Transcoder(const Transcoding &how, int song)
    : ChildProgram(FfmpegPath(), Arguments(how), song, kLimits) {}

} // namespace vexo::media
