#include "playlistctl/scan/audio_header.h"

#include "files/file_descriptor.h"
#include <algorithm>
#include <array>
#include <fcntl.h>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

namespace vexo::tools {
namespace {

/// Chunks of a file that are looked at; more than any writer makes before the sound.
constexpr int kMostChunks = 64;

class Source {
public:
  explicit Source(const std::string &path) : fd_(open(path.c_str(), O_RDONLY | O_CLOEXEC)) {
    struct stat status {};
    if (fd_ && fstat(fd_.get(), &status) == 0) {
      size_ = static_cast<uint64_t>(status.st_size);
    }
  }

  [[nodiscard]] uint64_t size() const { return size_; }

  /// Up to `count` bytes from `offset` on.
  [[nodiscard]] std::string Read(uint64_t offset, std::size_t count) const {
    std::string bytes(offset < size_ ? count : 0, '\0');
    const ssize_t got = pread(fd_.get(), bytes.data(), bytes.size(), static_cast<off_t>(offset));
    bytes.resize(got > 0 ? static_cast<std::size_t>(got) : 0);
    return bytes;
  }

  [[nodiscard]] bool HasText(uint64_t offset, std::string_view text) const {
    return Read(offset, text.size()) == text;
  }
  /// Numbers of up to eight bytes; 0 beyond the end.
  [[nodiscard]] uint64_t Little(uint64_t offset, std::size_t count) const {
    std::string bytes = Read(offset, count);
    std::reverse(bytes.begin(), bytes.end());
    return Number(bytes);
  }
  [[nodiscard]] uint64_t Big(uint64_t offset, std::size_t count) const {
    return Number(Read(offset, count));
  }

private:
  static uint64_t Number(const std::string &bytes) {
    uint64_t number = 0;
    for (const char byte : bytes) {
      number = number << 8 | static_cast<unsigned char>(byte);
    }
    return number;
  }

  files::FileDescriptor fd_;
  uint64_t size_ = 0;
};

/// Completes a header from the bytes of sound and the bits of a second of it. Numbers that make no
/// sense are all dropped: the file is audio of the format, and that is all there is to know.
AudioHeader WithDuration(AudioHeader header, uint64_t bytes, uint64_t bits_a_second) {
  if (header.sample_rate == 0 || header.channels == 0 || bits_a_second == 0 ||
      bits_a_second > UINT32_MAX) {
    return {0, 0, 0, 0, header.id3v2};
  }
  header.bitrate = static_cast<uint32_t>(bits_a_second);
  header.duration_seconds = static_cast<double>(bytes) * 8 / static_cast<double>(bits_a_second);
  return header;
}

/// The bytes of an ID3v2 tag at the beginning (ID3v2.4, section 3.1); 0: there is none.
uint64_t LeadingTagSize(const Source &file) {
  if (!file.HasText(0, "ID3")) {
    return 0;
  }
  uint64_t size = 0;
  for (const char byte : file.Read(6, 4)) {
    size = size << 7 | (static_cast<unsigned char>(byte) & 0x7f);
  }
  return size + 10;
}

/// The length of the ADTS frame (ISO/IEC 13818-7, 6.2) at `position`; 0: none begins there.
std::size_t AdtsFrameLength(std::string_view bytes, std::size_t position) {
  constexpr std::size_t kHeader = 7;
  if (position + kHeader > bytes.size()) {
    return 0;
  }
  const auto byte = [&](std::size_t i) {
    return static_cast<unsigned>(static_cast<unsigned char>(bytes[position + i]));
  };
  const bool is_frame = byte(0) == 0xff && (byte(1) & 0xf6) == 0xf0;
  const std::size_t length = (byte(3) & 3) << 11 | byte(4) << 3 | byte(5) >> 5;
  return is_frame && length > kHeader ? length : 0;
}

std::optional<AudioHeader> ReadAdts(const Source &file) {
  constexpr std::array<uint32_t, 13> kRates = {96000, 88200, 64000, 48000, 44100, 32000, 24000,
                                               22050, 16000, 12000, 11025, 8000,  7350};
  constexpr std::size_t kLookedAt = std::size_t{64} * 1024;
  constexpr std::size_t kFewestFrames = 3;
  constexpr std::size_t kSamplesAFrame = 1024;
  const uint64_t begin = LeadingTagSize(file);
  const std::string bytes = file.Read(begin, kLookedAt);
  std::size_t frames = 0;
  std::size_t end = 0;
  while (const std::size_t length = AdtsFrameLength(bytes, end)) {
    ++frames;
    end += length;
  }
  if (frames < kFewestFrames) {
    return std::nullopt;
  }
  const auto second = static_cast<unsigned char>(bytes[2]);
  const auto third = static_cast<unsigned char>(bytes[3]);
  const std::size_t rate = second >> 2 & 0xfU;
  AudioHeader header;
  header.sample_rate = rate < kRates.size() ? kRates[rate] : 0;
  header.channels = (second & 1U) << 2 | third >> 6;
  header.channels = header.channels == 0 ? 2 : header.channels; // the stream itself tells it
  header.id3v2 = 0;
  return WithDuration(header, file.size() - begin,
                      uint64_t{end} * 8 * header.sample_rate / (kSamplesAFrame * frames));
}

/// DSF file format, version 1.01.
std::optional<AudioHeader> ReadDsf(const Source &file) {
  if (!file.HasText(0, "DSD ") || !file.HasText(28, "fmt ")) {
    return std::nullopt;
  }
  AudioHeader header;
  header.channels = static_cast<uint32_t>(file.Little(52, 4));
  header.sample_rate = static_cast<uint32_t>(file.Little(56, 4));
  const uint64_t samples = file.Little(64, 8);
  if (const uint64_t tag = file.Little(20, 8); tag > 0 && tag < file.size()) {
    header.id3v2 = static_cast<int64_t>(tag);
  }
  const uint64_t most = file.size() * 8; // a sample is a bit
  return WithDuration(header, std::min(samples, most) * header.channels / 8,
                      uint64_t{header.sample_rate} * header.channels);
}

/// DSDIFF, version 1.5.
class DsdiffReader {
public:
  explicit DsdiffReader(const Source &file) : file_(file) {}

  std::optional<AudioHeader> Read() {
    if (!file_.HasText(0, "FRM8") || !file_.HasText(12, "DSD ")) {
      return std::nullopt;
    }
    ReadChunks(16, file_.size());
    return WithDuration(header_, sound_bytes_, uint64_t{header_.sample_rate} * header_.channels);
  }

private:
  void ReadChunks(uint64_t offset, uint64_t end) {
    while (offset + kChunkHead <= end && ++chunks_ <= kMostChunks) {
      const uint64_t begin = offset + kChunkHead;
      const uint64_t size = std::min(file_.Big(offset + 4, 8), file_.size() - begin);
      ReadChunk(file_.Read(offset, 4), begin, size);
      offset = begin + size + size % 2;
    }
  }

  void ReadChunk(const std::string &name, uint64_t begin, uint64_t size) {
    if (name == "PROP") {
      ReadChunks(begin + 4, begin + size);
    } else if (name == "FS  ") {
      header_.sample_rate = static_cast<uint32_t>(file_.Big(begin, 4));
    } else if (name == "CHNL") {
      header_.channels = static_cast<uint32_t>(file_.Big(begin, 2));
    } else if (name == "DSD " || name == "DST ") {
      sound_bytes_ = size;
    } else if (name == "ID3 ") {
      header_.id3v2 = static_cast<int64_t>(begin);
    }
  }

  static constexpr uint64_t kChunkHead = 12;
  const Source &file_;
  AudioHeader header_;
  uint64_t sound_bytes_ = 0;
  int chunks_ = 0;
};

/// RIFF/WAVE, and RF64 (EBU Tech 3306). The sound goes to the end of the file where its length is
/// not told.
std::optional<AudioHeader> ReadWav(const Source &file) {
  if ((!file.HasText(0, "RIFF") && !file.HasText(0, "RF64")) || !file.HasText(8, "WAVE")) {
    return std::nullopt;
  }
  AudioHeader header;
  uint64_t bytes_a_second = 0;
  uint64_t offset = 12;
  for (int chunks = 0; chunks < kMostChunks && offset + 8 <= file.size(); ++chunks) {
    const std::string name = file.Read(offset, 4);
    const uint64_t size = file.Little(offset + 4, 4);
    offset += 8;
    if (name == "fmt ") {
      header.channels = static_cast<uint32_t>(file.Little(offset + 2, 2));
      header.sample_rate = static_cast<uint32_t>(file.Little(offset + 4, 4));
      bytes_a_second = file.Little(offset + 8, 4);
    } else if (name == "data") {
      const uint64_t rest = file.size() - offset;
      return WithDuration(header, size == 0 ? rest : std::min(size, rest), bytes_a_second * 8);
    }
    offset += size + size % 2;
  }
  return AudioHeader{};
}

} // namespace

std::optional<AudioHeader> ReadAudioHeader(const std::string &path) {
  const Source file(path);
  for (const auto read : {ReadDsf, ReadWav, ReadAdts}) {
    if (auto header = read(file)) {
      return header;
    }
  }
  return DsdiffReader(file).Read();
}

} // namespace vexo::tools
