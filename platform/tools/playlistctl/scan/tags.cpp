#include "playlistctl/scan/tags.h"

#include "playlistctl/scan/library_walk.h"
#include "text/text.h"
#include "text/utf8.h"
#include <algorithm>
#include <taglib/fileref.h>
#include <taglib/tag.h>
#include <taglib/tpropertymap.h>

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

int32_t Number(unsigned value) { return value <= INT32_MAX ? static_cast<int32_t>(value) : 0; }

void ReadTag(const TagLib::Tag &tag, index::Song &song) {
  song.title = Text(tag.title());
  song.artist = Text(tag.artist());
  song.album = Text(tag.album());
  song.genre = Text(tag.genre());
  song.comment = Text(tag.comment());
  song.year = Number(tag.year());
  song.track = Number(tag.track());
}

void ReadProperties(const TagLib::PropertyMap &properties, index::Song &song) {
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
  const TagLib::FileRef file(path.c_str(), true, TagLib::AudioProperties::Average);
  if (file.isNull() || file.file()->length() == 0 || file.tag() == nullptr ||
      file.audioProperties() == nullptr) {
    return std::nullopt;
  }
  index::Song song;
  song.path = path;
  song.type = Extension(FileName(path));
  ReadTag(*file.tag(), song);
  ReadProperties(file.file()->properties(), song);
  ReadAudio(*file.audioProperties(), song);
  if (song.sample_rate == 0 && song.bitrate == 0 && song.duration_seconds == 0) {
    return std::nullopt;
  }
  if (song.title.empty()) {
    song.title = CleanText(std::string(Stem(path)));
  }
  return song;
}

} // namespace vexo::tools
