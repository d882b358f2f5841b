#pragma once
// Songs for tests: FLAC files that hold tags and no sound.

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace vexo::tools {

using FlacTags = std::vector<std::pair<std::string, std::string>>;

inline std::string BigEndian(uint64_t value, int bytes) {
  std::string text;
  for (int shift = 8 * (bytes - 1); shift >= 0; shift -= 8) {
    text += static_cast<char>(value >> shift & 0xff);
  }
  return text;
}

inline std::string LittleEndian32(std::size_t value) {
  const std::string big = BigEndian(value, 4);
  return {big.rbegin(), big.rend()};
}

inline std::string FlacBlock(int type, bool last, const std::string &content) {
  return BigEndian(static_cast<uint64_t>(type | (last ? 0x80 : 0)), 1) +
         BigEndian(content.size(), 3) + content;
}

/// A FLAC file (RFC 9639) of so many seconds of 44,100 Hz in two channels of 16 bits.
inline std::string Flac(const FlacTags &tags, uint64_t seconds = 3) {
  constexpr uint64_t kRate = 44'100;
  const uint64_t format = kRate << 44 | uint64_t{2 - 1} << 41 | uint64_t{16 - 1} << 36;
  const std::string info = BigEndian(4096, 2) + BigEndian(4096, 2) + BigEndian(0, 6) +
                           BigEndian(format | kRate * seconds, 8) + std::string(16, '\0');
  std::string comments = LittleEndian32(0) + LittleEndian32(tags.size());
  for (const auto &[name, value] : tags) {
    comments += LittleEndian32(name.size() + 1 + value.size()) + name + "=" + value;
  }
  return "fLaC" + FlacBlock(0, false, info) + FlacBlock(4, true, comments);
}

/// One that is called by its title.
inline std::string FlacTitled(const std::string &title, uint64_t seconds = 3) {
  return Flac({{"TITLE", title}}, seconds);
}

inline std::string LittleEndian(uint64_t value, int bytes) {
  const std::string big = BigEndian(value, bytes);
  return {big.rbegin(), big.rend()};
}

/// A chunk of a RIFF file, which may tell another size than it has.
inline std::string RiffChunk(const std::string &name, const std::string &content,
                             std::optional<uint32_t> told = {}) {
  return name + LittleEndian32(told.value_or(static_cast<uint32_t>(content.size()))) + content +
         std::string(content.size() % 2, '\0');
}

/// A WAV file of 8,000 Hz in one channel of 8 bits, with the chunks before the sound.
inline std::string Wav(const std::string &chunks, std::size_t seconds,
                       std::optional<uint32_t> told = {}, const std::string &form = "RIFF") {
  const std::string format = LittleEndian(1, 2) + LittleEndian(1, 2) + LittleEndian32(8000) +
                             LittleEndian32(8000) + LittleEndian(1, 2) + LittleEndian(8, 2);
  const std::string content = "WAVE" + RiffChunk("fmt ", format) + chunks +
                              RiffChunk("data", std::string(seconds * 8000, '\x80'), told);
  return RiffChunk(form, content, told);
}

/// An ID3v2.3 tag that tells a title.
inline std::string Id3(const std::string &title) {
  const std::string text = std::string(1, '\0') + title;
  const std::string frame = "TIT2" + BigEndian(text.size(), 4) + BigEndian(0, 2) + text;
  return std::string("ID3\x03\0\0", 6) + BigEndian(frame.size(), 4) + frame;
}

/// AAC in ADTS frames of 100 bytes, 44,100 Hz, two channels.
inline std::string Adts(std::size_t frames) {
  const uint64_t header = 0xFFF150800000FCU | uint64_t{100} << 13;
  std::string bytes;
  for (std::size_t i = 0; i < frames; ++i) {
    bytes += BigEndian(header, 7) + std::string(93, 'x');
  }
  return bytes;
}

/// DSF of 2,822,400 Hz in two channels, without its sound.
inline std::string Dsf(uint64_t seconds, const std::string &tag = "") {
  const std::string format = LittleEndian(52, 8) + LittleEndian32(1) + LittleEndian32(0) +
                             LittleEndian32(2) + LittleEndian32(2) + LittleEndian32(2'822'400) +
                             LittleEndian32(1) + LittleEndian(2'822'400 * seconds, 8) +
                             LittleEndian32(4096) + LittleEndian32(0);
  const std::string data =
      "data" + LittleEndian(12 + seconds * 705'600, 8) + std::string(seconds * 705'600, '\x69');
  const uint64_t size = 28 + 4 + format.size() + data.size();
  return "DSD " + LittleEndian(28, 8) + LittleEndian(size + tag.size(), 8) +
         LittleEndian(tag.empty() ? 0 : size, 8) + "fmt " + format + data + tag;
}

inline std::string DsdiffChunk(const std::string &name, const std::string &content) {
  return name + BigEndian(content.size(), 8) + content + std::string(content.size() % 2, '\0');
}

/// DSDIFF of 2,822,400 Hz in two channels.
inline std::string Dsdiff(std::size_t seconds, const std::string &tag = "") {
  const std::string properties = "SND " + DsdiffChunk("FS  ", BigEndian(2'822'400, 4)) +
                                 DsdiffChunk("CHNL", BigEndian(2, 2) + "SLFTSRGT") +
                                 DsdiffChunk("CMPR", "DSD odd");
  return DsdiffChunk("FRM8", "DSD " + DsdiffChunk("FVER", BigEndian(0x01050000, 4)) +
                                 DsdiffChunk("PROP", properties) +
                                 DsdiffChunk("DSD ", std::string(seconds * 705'600, '\x69')) +
                                 (tag.empty() ? "" : DsdiffChunk("ID3 ", tag)));
}

/// An APE tag of these items, as it stands at the end of a file.
inline std::string ApeTag(const FlacTags &items) {
  std::string content;
  for (const auto &[name, value] : items) {
    content +=
        LittleEndian32(value.size()) + LittleEndian32(0) + name + std::string(1, '\0') + value;
  }
  return content + "APETAGEX" + LittleEndian32(2000) + LittleEndian32(content.size() + 32) +
         LittleEndian32(items.size()) + LittleEndian32(0) + std::string(8, '\0');
}

} // namespace vexo::tools
