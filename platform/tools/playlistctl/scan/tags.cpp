#include "playlistctl/scan/tags.h"

#include "files/file_descriptor.h"
#include "playlistctl/scan/audio_header.h"
#include "playlistctl/scan/library_walk.h"
#include "text/text.h"
#include "text/utf8.h"
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <stdexcept>
#include <taglib/fileref.h>
#include <taglib/id3v2tag.h>
#include <taglib/tag.h>
#include <taglib/tpropertymap.h>
#include <unistd.h>

namespace vexo::tools {
namespace {

constexpr std::size_t kLongestText = 2000;

std::string Text(const TagLib::String &text) { return CleanText(text.to8Bit(true)); }

/// The first value of a property, such as "DISCNUMBER".
TagLib::String Property(const TagLib::PropertyMap &properties, const char *name) {
  const auto found = properties.find(name);
  return found == properties.end() || found->second.isEmpty() ? TagLib::String()
                                                              : found->second.front();
}

/// "2" and "2/3" are both disc 2.
int32_t LeadingNumber(const TagLib::String &text) { return std::max(0, text.toInt()); }

/// Tags are not the same everywhere: what the usual fields do not tell may stand among the
/// properties, as the chunks of a WAV file and a "Date" of APE do.
void ReadTexts(const TagLib::Tag &tag, const TagLib::PropertyMap &properties, index::Song &song) {
  const auto either = [&](const TagLib::String &text, const char *property) {
    return Text(text.isEmpty() ? Property(properties, property) : text);
  };
  const auto number = [&](unsigned value, const char *property) {
    return value > 0 && value <= INT32_MAX ? static_cast<int32_t>(value)
                                           : LeadingNumber(Property(properties, property));
  };
  song.title = either(tag.title(), "TITLE");
  song.artist = either(tag.artist(), "ARTIST");
  song.album = either(tag.album(), "ALBUM");
  song.genre = either(tag.genre(), "GENRE");
  song.comment = either(tag.comment(), "COMMENT");
  song.year = number(tag.year(), "DATE");
  song.track = number(tag.track(), "TRACKNUMBER");
  song.album_artist = Text(Property(properties, "ALBUMARTIST"));
  song.composer = Text(Property(properties, "COMPOSER"));
  song.disc = LeadingNumber(Property(properties, "DISCNUMBER"));
  song.compilation = LeadingNumber(Property(properties, "COMPILATION")) > 0;
}

void ReadAudio(const TagLib::AudioProperties &audio, index::Song &song) {
  const auto positive = [](int value) { return static_cast<uint32_t>(std::max(0, value)); };
  song.duration_seconds = std::max(0, audio.lengthInMilliseconds()) / 1000.0;
  song.bitrate = positive(std::min(audio.bitrate(), 4'000'000)) * 1000;
  song.sample_rate = positive(audio.sampleRate());
  song.channels = positive(audio.channels());
}

/// False: the file is nothing that TagLib reads.
bool ReadWithTagLib(const std::string &path, index::Song &song) {
  const TagLib::FileRef file(path.c_str(), true, TagLib::AudioProperties::Average);
  if (file.isNull() || file.file()->length() == 0 || file.tag() == nullptr) {
    return false;
  }
  ReadTexts(*file.tag(), file.file()->properties(), song);
  if (file.audioProperties() != nullptr) {
    ReadAudio(*file.audioProperties(), song);
  }
  return song.sample_rate != 0 || song.bitrate != 0 || song.duration_seconds != 0;
}

/// A file to read an ID3v2 tag from, whatever else it is.
class AnyFile : public TagLib::File {
public:
  explicit AnyFile(const std::string &path) : File(path.c_str()) {}
  [[nodiscard]] TagLib::Tag *tag() const override { return nullptr; }
  [[nodiscard]] TagLib::AudioProperties *audioProperties() const override { return nullptr; }
  bool save() override { return false; }
};

bool ReadFromHeader(const std::string &path, index::Song &song) {
  const std::optional<AudioHeader> header = ReadAudioHeader(path);
  if (!header) {
    return false;
  }
  song.duration_seconds = header->duration_seconds;
  song.bitrate = header->bitrate;
  song.sample_rate = header->sample_rate;
  song.channels = header->channels;
  if (header->id3v2) {
    AnyFile file(path);
    const TagLib::ID3v2::Tag tag(&file, *header->id3v2);
    ReadTexts(tag, tag.properties(), song);
  }
  return true;
}

/// TagLib does not tell a file that is no audio from one that cannot be read.
void RequireReadable(const std::string &path) {
  const files::FileDescriptor fd(open(path.c_str(), O_RDONLY | O_CLOEXEC));
  char byte = 0;
  if (!fd || pread(fd.get(), &byte, 1, 0) < 0) {
    throw std::runtime_error(std::strerror(errno));
  }
}

/// Whether TagLib would take long to find out that it does not know the format.
bool IsUnknownToTagLib(const std::string &type) {
  return type == "aac" || type == "dsf" || type == "dff";
}

} // namespace

std::string CleanText(const std::string &bytes) {
  std::string text = text::ToValidUtf8(bytes);
  std::replace_if(
      text.begin(), text.end(), [](char c) { return (c >= 0 && c < ' ') || c == '\x7f'; }, ' ');
  if (text.size() > kLongestText) {
    std::size_t end = kLongestText;
    while ((static_cast<unsigned char>(text[end]) & 0xc0) == 0x80) {
      --end;
    }
    text.resize(end);
  }
  return std::string(text::Trim(text));
}

std::optional<index::Song> ReadTags(const std::string &path) {
  RequireReadable(path);
  index::Song song;
  song.path = path;
  song.type = Extension(FileName(path));
  const bool header_first = IsUnknownToTagLib(song.type);
  if (!(header_first && ReadFromHeader(path, song)) && !ReadWithTagLib(path, song) &&
      (header_first || !ReadFromHeader(path, song))) {
    return std::nullopt;
  }
  if (song.title.empty()) {
    song.title = CleanText(std::string(Stem(path)));
  }
  return song;
}

} // namespace vexo::tools
