#include "contract/tools/audio_files.h"
#include "playlistctl/scan/song_packet.h"
#include "playlistctl/scan/tags.h"
#include "support/temporary_folder.h"

#include <gtest/gtest.h>
#include <random>

namespace vexo::tools {
namespace {

class Tags : public ::testing::Test {
protected:
  std::optional<index::Song> Read(const std::string &name, const std::string &bytes) {
    WriteBytes(folder_ / name, bytes);
    return ReadTags(folder_ / name);
  }
  TemporaryFolder folder_;
};

TEST_F(Tags, AllThatAFileTellsIsRead) {
  const auto song = Read("a.FLAC", Flac({{"TITLE", "Title"},
                                         {"ARTIST", "Artist"},
                                         {"ALBUM", "Album"},
                                         {"ALBUMARTIST", "Various"},
                                         {"GENRE", "Genre"},
                                         {"COMPOSER", "Composer"},
                                         {"COMMENT", "Comment"},
                                         {"DATE", "1999-12-31"},
                                         {"TRACKNUMBER", "7/12"},
                                         {"DISCNUMBER", "2/3"},
                                         {"COMPILATION", "1"}},
                                        215));
  ASSERT_TRUE(song);
  EXPECT_EQ(song->title, "Title");
  EXPECT_EQ(song->artist, "Artist");
  EXPECT_EQ(song->album, "Album");
  EXPECT_EQ(song->album_artist, "Various");
  EXPECT_EQ(song->genre, "Genre");
  EXPECT_EQ(song->composer, "Composer");
  EXPECT_EQ(song->comment, "Comment");
  EXPECT_EQ(song->year, 1999);
  EXPECT_EQ(song->track, 7);
  EXPECT_EQ(song->disc, 2);
  EXPECT_TRUE(song->compilation);
  EXPECT_EQ(song->type, "flac");
  EXPECT_EQ(song->duration_seconds, 215);
  EXPECT_EQ(song->sample_rate, 44'100U);
  EXPECT_EQ(song->channels, 2U);
}

TEST_F(Tags, WithoutATitleTheFileNameIsTheTitle) {
  EXPECT_EQ(Read("01 A.Name.flac", Flac({}))->title, "01 A.Name");
  EXPECT_EQ(Read("b.flac", Flac({{"TITLE", "  "}}))->title, "b");
}

TEST_F(Tags, NumbersThatAreNoneAreNotKnown) {
  const auto song =
      Read("a.flac", Flac({{"TRACKNUMBER", "x"}, {"DISCNUMBER", "-1"}, {"DATE", "soon"}}));
  ASSERT_TRUE(song);
  EXPECT_EQ(song->track, 0);
  EXPECT_EQ(song->disc, 0);
  EXPECT_EQ(song->year, 0);
}

TEST_F(Tags, FilesThatAreNoAudioTellNothing) {
  std::mt19937 generator(1);
  std::string noise;
  for (int i = 0; i < 5000; ++i) {
    noise += static_cast<char>(generator());
  }
  for (const char *extension : {"mp3", "flac", "ogg", "opus", "m4a", "wav", "aiff", "wma", "ape",
                                "wv", "dsf", "dff", "aac"}) {
    const std::string name = std::string("a.") + extension;
    EXPECT_FALSE(Read(name, noise)) << name;
    EXPECT_FALSE(Read(name, "")) << name;
  }
  EXPECT_THROW((void)ReadTags(folder_ / "none.flac"), std::runtime_error);
}

TEST_F(Tags, TextsThatStandAmongThePropertiesOnlyAreRead) {
  const std::string info = "INFO" + RiffChunk("INAM", "Title") + RiffChunk("IART", "Artist") +
                           RiffChunk("IPRD", "Album") + RiffChunk("IGNR", "Genre") +
                           RiffChunk("ICRD", "1999-12-31") + RiffChunk("IPRT", "7");
  const auto wav = Read("a.wav", Wav(RiffChunk("LIST", info), 2));
  ASSERT_TRUE(wav);
  EXPECT_EQ(wav->title, "Title");
  EXPECT_EQ(wav->artist, "Artist");
  EXPECT_EQ(wav->album, "Album");
  EXPECT_EQ(wav->genre, "Genre");
  EXPECT_EQ(wav->year, 1999);
  EXPECT_EQ(wav->track, 7);
  EXPECT_EQ(wav->duration_seconds, 2);
  const std::string frame = BigEndian(0xFFFB9064, 4) + std::string(413, '\0');
  const auto mp3 =
      Read("a.mp3",
           frame + frame + frame + ApeTag({{"Title", "Title"}, {"Date", "2001"}, {"Track", "3"}}));
  ASSERT_TRUE(mp3);
  EXPECT_EQ(mp3->title, "Title");
  EXPECT_EQ(mp3->year, 2001);
  EXPECT_EQ(mp3->track, 3);
}

struct HeaderRow {
  const char *description;
  const char *name;
  std::string bytes;
  double seconds;
  uint32_t sample_rate, channels;
  const char *title;
};

TEST_F(Tags, FormatsAreReadByTheirHeaders) {
  const HeaderRow rows[] = {
      {"ADTS", "b.aac", Adts(441), 441 * 1024 / 44'100.0, 44'100, 2, "b"},
      {"ADTS with a tag", "b.aac", Id3("T") + Adts(441), 441 * 1024 / 44'100.0, 44'100, 2, "T"},
      {"DSF", "b.dsf", Dsf(2), 2, 2'822'400, 2, "b"},
      {"DSF with a tag", "b.dsf", Dsf(1, Id3("T")), 1, 2'822'400, 2, "T"},
      {"DSDIFF", "b.dff", Dsdiff(2), 2, 2'822'400, 2, "b"},
      {"DSDIFF with a tag", "b.DFF", Dsdiff(1, Id3("T")), 1, 2'822'400, 2, "T"},
      {"WAV", "b.wav", Wav("", 2), 2, 8000, 1, "b"},
      {"WAV without a length", "b.wav", Wav("", 2, 0), 2, 8000, 1, "b"},
      {"WAV of a pipe", "b.wav", Wav("", 2, 0xFFFFFFFF), 2, 8000, 1, "b"},
      {"WAV of a pipe, with a tag", "b.wav",
       Wav(RiffChunk("LIST", "INFO" + RiffChunk("INAM", "T")), 2, 0xFFFFFFFF), 2, 8000, 1, "T"},
      {"RF64", "b.wav", Wav(RiffChunk("ds64", std::string(28, '\0')), 2, 0xFFFFFFFF, "RF64"), 2,
       8000, 1, "b"},
  };
  for (const HeaderRow &row : rows) {
    const auto song = Read(row.name, row.bytes);
    ASSERT_TRUE(song) << row.description;
    EXPECT_NEAR(song->duration_seconds, row.seconds, 0.01) << row.description;
    EXPECT_EQ(song->sample_rate, row.sample_rate) << row.description;
    EXPECT_EQ(song->channels, row.channels) << row.description;
    EXPECT_GT(song->bitrate, 0U) << row.description;
    EXPECT_EQ(song->title, row.title) << row.description;
  }
}

TEST_F(Tags, AudioWhoseHeaderTellsNothingHasTheNameOfItsFile) {
  const std::pair<const char *, std::string> files[] = {
      {"Name.dsf", Dsf(1).substr(0, 40)},
      {"Name.dff", Dsdiff(1).substr(0, 20)},
      {"Name.wav", Wav("", 1).substr(0, 12)},
  };
  for (const auto &[name, bytes] : files) {
    const auto song = Read(name, bytes);
    ASSERT_TRUE(song) << name;
    EXPECT_EQ(song->title, "Name") << name;
    EXPECT_EQ(song->duration_seconds, 0) << name;
    EXPECT_EQ(song->sample_rate, 0U) << name;
  }
}

TEST_F(Tags, HeadersWithAnyByteChangedOrCutOffBreakNothing) {
  std::mt19937 generator(1);
  const std::pair<const char *, std::string> files[] = {
      {"a.aac", Id3("T") + Adts(5)},
      {"a.dsf", Dsf(0, Id3("T"))},
      {"a.dff", Dsdiff(0, Id3("T"))},
      {"a.wav", Wav(RiffChunk("LIST", "INFO"), 0, 0xFFFFFFFF)},
  };
  for (const auto &[name, bytes] : files) {
    for (std::size_t position = 0; position < bytes.size(); ++position) {
      (void)Read(name, bytes.substr(0, position));
      for (const char byte : {'\0', '\x7f', '\xff', static_cast<char>(generator())}) {
        std::string changed = bytes;
        changed[position] = byte;
        if (const auto song = Read(name, changed)) {
          EXPECT_GE(song->duration_seconds, 0) << name << " " << position;
          EXPECT_FALSE(song->title.empty()) << name << " " << position;
        }
      }
    }
  }
}

TEST_F(Tags, AFileThatWasCutShortIsReadOrNotButNothingBreaks) {
  const std::string whole = FlacTitled("Title");
  for (std::size_t size = 0; size < whole.size(); ++size) {
    if (const auto song = Read("a.flac", whole.substr(0, size))) {
      EXPECT_FALSE(song->title.empty()) << size;
    }
  }
}

TEST(CleanText, TextsAreOneLineOfValidUtf8) {
  EXPECT_EQ(CleanText(" a\r\nb\tc\x7f "), "a  b c");
  EXPECT_EQ(CleanText("a\xff\xc3"), "a\ufffd\ufffd");
  EXPECT_EQ(CleanText(std::string("a\0b", 3)), "a b");
  EXPECT_EQ(CleanText(""), "");
}

TEST(CleanText, LongTextsAreCutBetweenCharacters) {
  EXPECT_EQ(CleanText(std::string(5000, 'x')), std::string(2000, 'x'));
  EXPECT_EQ(CleanText(std::string(1999, 'x') + "\u00e9"), std::string(1999, 'x'));
}

TEST(SongPacket, ASongIsReadBack) {
  index::Song song;
  song.path = "/a";
  song.title = std::string("t\0t", 3);
  song.composer = "\u6e2f";
  song.track = -1;
  song.duration_seconds = 1.5;
  song.channels = 6;
  song.compilation = true;
  const auto read = DecodeSong(EncodeSong(song));
  ASSERT_TRUE(read);
  EXPECT_EQ(read->path, song.path);
  EXPECT_EQ(read->title, song.title);
  EXPECT_EQ(read->composer, song.composer);
  EXPECT_EQ(read->track, song.track);
  EXPECT_EQ(read->duration_seconds, song.duration_seconds);
  EXPECT_EQ(read->channels, song.channels);
  EXPECT_TRUE(read->compilation);
}

TEST(SongPacket, NoSongIsReadBack) { EXPECT_FALSE(DecodeSong(EncodeSong(std::nullopt))); }

TEST(SongPacket, OtherBytesAreRefused) {
  const std::string packet = EncodeSong(index::Song());
  for (std::size_t size = 1; size < packet.size(); ++size) {
    EXPECT_THROW((void)DecodeSong(packet.substr(0, size)), std::runtime_error) << size;
  }
  EXPECT_THROW((void)DecodeSong(packet + "x"), std::runtime_error);
  EXPECT_THROW((void)DecodeSong(std::string(4, '\xff')), std::runtime_error);
}

} // namespace
} // namespace vexo::tools
