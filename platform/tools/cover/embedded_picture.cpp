#include "cover/embedded_picture.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <taglib/aifffile.h>
#include <taglib/apefile.h>
#include <taglib/apetag.h>
#include <taglib/asffile.h>
#include <taglib/attachedpictureframe.h>
#include <taglib/fileref.h>
#include <taglib/flacfile.h>
#include <taglib/id3v2tag.h>
#include <taglib/mp4file.h>
#include <taglib/mpcfile.h>
#include <taglib/mpegfile.h>
#include <taglib/tfilestream.h>
#include <taglib/trueaudiofile.h>
#include <taglib/wavfile.h>
#include <taglib/wavpackfile.h>
#include <taglib/xiphcomment.h>
#include <utility>

namespace vexo::cover {
namespace {

/// The best picture that was seen so far.
class Choice {
public:
  /// Types are numbered alike in ID3v2, FLAC and ASF: 1 and 2 are icons, 3 is the front cover.
  void Add(int type, const TagLib::ByteVector &bytes) {
    constexpr int kFrontCover = 3;
    const int rank = type == kFrontCover ? 2 : 1;
    if (type != 1 && type != 2 && !bytes.isEmpty() && rank > rank_) {
      rank_ = rank;
      picture_ = bytes;
    }
  }
  [[nodiscard]] std::optional<std::string> Take() const {
    return rank_ == 0 ? std::nullopt
                      : std::optional<std::string>(std::in_place, picture_.data(), picture_.size());
  }

private:
  int rank_ = 0;
  TagLib::ByteVector picture_;
};

constexpr int kAnyPicture = 0;

void AddId3(const TagLib::ID3v2::Tag *tag, Choice &choice) {
  if (tag == nullptr) {
    return;
  }
  for (const TagLib::ID3v2::Frame *frame : tag->frameList("APIC")) {
    if (const auto *picture = dynamic_cast<const TagLib::ID3v2::AttachedPictureFrame *>(frame)) {
      choice.Add(picture->type(), picture->picture());
    }
  }
}

/// An item of APE holds a file's name, a NUL byte and the picture.
void AddApe(TagLib::APE::Tag *tag, Choice &choice) {
  if (tag == nullptr) {
    return;
  }
  const TagLib::APE::ItemListMap &items = tag->itemListMap();
  const auto found = items.find("COVER ART (FRONT)");
  if (found != items.end()) {
    const TagLib::ByteVector bytes = found->second.binaryData();
    const int name_end = bytes.find('\0');
    choice.Add(kAnyPicture, name_end < 0 ? TagLib::ByteVector()
                                         : bytes.mid(static_cast<unsigned>(name_end) + 1));
  }
}

void AddFlac(const TagLib::List<TagLib::FLAC::Picture *> &pictures, Choice &choice) {
  for (const TagLib::FLAC::Picture *picture : pictures) {
    choice.Add(picture->type(), picture->data());
  }
}

void AddMp4(const TagLib::MP4::Tag *tag, Choice &choice) {
  if (tag == nullptr) {
    return;
  }
  for (const TagLib::MP4::CoverArt &picture : tag->item("covr").toCoverArtList()) {
    choice.Add(kAnyPicture, picture.data());
  }
}

void AddAsf(TagLib::ASF::Tag *tag, Choice &choice) {
  if (tag == nullptr) {
    return;
  }
  for (const TagLib::ASF::Attribute &attribute : tag->attribute("WM/Picture")) {
    const TagLib::ASF::Picture picture = attribute.toPicture();
    if (picture.isValid()) {
      choice.Add(picture.type(), picture.picture());
    }
  }
}

/// Calls `add` with the file when it is of that kind.
template <typename File, typename Add> void IfIs(TagLib::File *file, const Add &add) {
  if (auto *const kind = dynamic_cast<File *>(file)) {
    add(*kind);
  }
}

Choice PicturesOf(TagLib::File *file) {
  Choice choice;
  IfIs<TagLib::MPEG::File>(file, [&](auto &mpeg) {
    AddId3(mpeg.ID3v2Tag(), choice);
    AddApe(mpeg.APETag(), choice);
  });
  IfIs<TagLib::FLAC::File>(file, [&](auto &flac) {
    AddFlac(flac.pictureList(), choice);
    AddId3(flac.ID3v2Tag(), choice);
  });
  if (auto *const comment = dynamic_cast<TagLib::Ogg::XiphComment *>(file->tag())) {
    AddFlac(comment->pictureList(), choice);
  }
  IfIs<TagLib::MP4::File>(file, [&](auto &mp4) { AddMp4(mp4.tag(), choice); });
  IfIs<TagLib::ASF::File>(file, [&](auto &asf) { AddAsf(asf.tag(), choice); });
  IfIs<TagLib::RIFF::WAV::File>(file, [&](auto &wav) { AddId3(wav.ID3v2Tag(), choice); });
  IfIs<TagLib::RIFF::AIFF::File>(file, [&](auto &aiff) { AddId3(aiff.tag(), choice); });
  IfIs<TagLib::TrueAudio::File>(file, [&](auto &tta) { AddId3(tta.ID3v2Tag(), choice); });
  IfIs<TagLib::APE::File>(file, [&](auto &ape) { AddApe(ape.APETag(), choice); });
  IfIs<TagLib::MPC::File>(file, [&](auto &mpc) { AddApe(mpc.APETag(), choice); });
  IfIs<TagLib::WavPack::File>(file, [&](auto &wavpack) { AddApe(wavpack.APETag(), choice); });
  return choice;
}

/// An open file whose name ends as its format's do: TagLib goes by the name.
class NamedStream : public TagLib::FileStream {
public:
  NamedStream(int fd, const std::string &format) : FileStream(fd, true), name_("song." + format) {}
  [[nodiscard]] TagLib::FileName name() const override { return name_.c_str(); }

private:
  std::string name_;
};

/// Formats that TagLib takes long to find out it does not know.
bool IsUnknownToTagLib(std::string_view format) {
  return format == "aac" || format == "dsf" || format == "dff";
}

} // namespace

std::optional<std::string> EmbeddedPicture(int fd, const std::string &format) {
  if (IsUnknownToTagLib(format)) {
    return std::nullopt;
  }
  NamedStream stream(fd, format);
  const TagLib::FileRef song(&stream, false);
  if (song.isNull() || song.file()->tag() == nullptr) {
    return std::nullopt;
  }
  return PicturesOf(song.file()).Take();
}

} // namespace vexo::cover
