#include "model/song_json.h"

#include "recording_platform/host_test.h"
#include <cstring>

namespace {

using recording::HostTest;
using recording::Show;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

Json::Value JsonOf(const std::string &text) {
  Json::Value value;
  EXPECT_TRUE(Json::Reader().parse(text, value)) << text;
  return value;
}

/// What a song object becomes; "refused" when it is.
std::string Filled(const std::string &text) {
  __tag_VEXO_MEDIA_INFO record;
  std::memset(&record, 'x', sizeof(record));
  return SongFromJson(&record, JsonOf(text)) == &record ? Show(&record) : "refused";
}

/// The fields that are 1 where nothing is known.
constexpr const char *kUnknown = "bitrate=1, sampleRate=1, channels=1, size=1}";

TEST(SongFromJson, FillsEveryFieldFromItsKey) {
  EXPECT_EQ(Filled(R"({"res": "/a.mp3", "item_id": "musiclib_music@123", "album": "Al",
                       "artist": "Ar", "genre": "Ge", "title": "Ti", "duration": 215, "track": 3,
                       "disc": 2, "year": 1999, "bitrate": 320000, "channels": 2,
                       "sample": 44100, "size": "8589934592", "albumArtURL": "http://x/y"})"),
            "{id=123, path=\"/a.mp3\", track=3, disc=2, year=1999, title=\"Ti\", album=\"Al\", "
            "artist=\"Ar\", genre=\"Ge\", albumArtUrl=\"http://x/y\", duration=215.0, "
            "bitrate=320000, sampleRate=44100, channels=2, size=8589934592}");
}

TEST(SongFromJson, TakesTheDefaultsOfWhatIsMissing) {
  EXPECT_EQ(Filled("{}"), std::string("{") + kUnknown);
}

TEST(SongFromJson, TakesTheDefaultsOfNulls) {
  EXPECT_EQ(Filled(R"({"res": null, "item_id": null, "album": null, "artist": null,
                       "genre": null, "title": null, "duration": null, "track": null,
                       "disc": null, "year": null, "bitrate": null, "channels": null,
                       "sample": null, "size": null, "albumArtURL": null})"),
            std::string("{") + kUnknown);
}

TEST(SongFromJson, TakesTheDefaultOfANumberOfAnotherType) {
  for (const char *key : {"duration", "track", "disc", "year", "bitrate", "channels", "sample"}) {
    for (const char *value : {"\"320\"", "true", "[]", "{}", "[1]"}) {
      EXPECT_EQ(Filled("{\"" + std::string(key) + "\": " + value + "}"),
                std::string("{") + kUnknown)
          << key << " " << value;
    }
  }
}

TEST(SongFromJson, TakesTheDefaultOfANumberThatDoesNotFit) {
  for (const char *key : {"duration", "track", "disc", "year"}) {
    for (const char *value : {"2147483648", "-2147483649", "99999999999999999999", "1e300"}) {
      EXPECT_EQ(Filled("{\"" + std::string(key) + "\": " + value + "}"),
                std::string("{") + kUnknown)
          << key << " " << value;
    }
  }
  for (const char *key : {"bitrate", "channels", "sample"}) {
    for (const char *value : {"4294967296", "-1", "-0.5", "99999999999999999999", "-1e300"}) {
      EXPECT_EQ(Filled("{\"" + std::string(key) + "\": " + value + "}"),
                std::string("{") + kUnknown)
          << key << " " << value;
    }
  }
}

TEST(SongFromJson, TakesAFractionAsZeroWhereAWholeNumberBelongs) {
  EXPECT_EQ(Filled(R"({"duration": 215.5, "track": 1.5, "disc": 0.1, "year": 1999.9})"),
            std::string("{") + kUnknown);
}

TEST(SongFromJson, TakesAnyNumberForThePropertiesOfTheSound) {
  EXPECT_EQ(Filled(R"({"bitrate": 320.7, "channels": 4294967295, "sample": 0})"),
            "{bitrate=320, channels=4294967295, size=1}");
}

TEST(SongFromJson, TakesNegativeWholeNumbers) {
  EXPECT_EQ(Filled(R"({"track": -1, "year": -2147483648})"),
            std::string("{track=-1, year=-2147483648, ") + kUnknown);
}

TEST(SongFromJson, RefusesATextFieldThatIsNoText) {
  for (const char *key :
       {"res", "item_id", "album", "artist", "genre", "title", "size", "albumArtURL"}) {
    for (const char *value : {"1", "-1", "1.5", "true", "[]", "{}", "[\"a\"]"}) {
      EXPECT_EQ(Filled("{\"" + std::string(key) + "\": " + value + "}"), "refused")
          << key << " " << value;
    }
  }
}

TEST(SongFromJson, RefusesWhatIsNoObject) {
  for (const char *value : {"[]", "[null]", "[[1, 2]]"}) {
    EXPECT_EQ(Filled(value), "refused") << value;
  }
}

TEST(SongFromJson, OfNoRecordIsNothing) { EXPECT_EQ(SongFromJson(nullptr, JsonOf("{}")), nullptr); }

TEST(SongFromJson, TakesTheIdBehindTheAtSignOfALibrarysOrAQueuesItem) {
  const struct {
    const char *description;
    const char *item_id;
    int id;
  } rows[] = {
      {"a song of the library", "musiclib_music@123", 123},
      {"an entry of a queue", "playing@7", 7},
      {"the word anywhere", "7-musiclib-x@5", 5},
      {"the word behind the at sign", "x@5musiclib", 5},
      {"the last at sign", "musiclib@1@2", 2},
      {"another source", "other@5", 0},
      {"no at sign", "musiclib_music", 0},
      {"no number", "musiclib@x", 0},
      {"nothing behind it", "musiclib@", 0},
      {"capitals", "MUSICLIB@5", 0},
      {"a number that does not fit", "musiclib@4294967308", 0},
      {"a negative one that does not", "musiclib@-99999999999999999999", 0},
      {"empty", "", 0},
  };
  for (const auto &row : rows) {
    __tag_VEXO_MEDIA_INFO record;
    Json::Value song;
    song["item_id"] = row.item_id;
    ASSERT_EQ(SongFromJson(&record, song), &record) << row.description;
    EXPECT_EQ(record.id, row.id) << row.description;
  }
}

TEST(SongFromJson, ReadsTheSizeFromItsDigits) {
  const struct {
    const char *text;
    uint64_t size;
  } rows[] = {{"0", 0},    {"123", 123}, {"18446744073709551615", UINT64_MAX},
              {"12x", 12}, {"x", 0},     {"99999999999999999999", UINT64_MAX}};
  for (const auto &row : rows) {
    __tag_VEXO_MEDIA_INFO record;
    Json::Value song;
    song["size"] = row.text;
    ASSERT_EQ(SongFromJson(&record, song), &record);
    EXPECT_EQ(record.size, row.size) << row.text;
  }
}

TEST(SongFromJson, CutsTextsThatAreTooLong) {
  const std::string longer(5000, 'a');
  Json::Value song;
  for (const char *key : {"res", "album", "artist", "genre", "title", "albumArtURL"}) {
    song[key] = longer;
  }
  __tag_VEXO_MEDIA_INFO record;
  ASSERT_EQ(SongFromJson(&record, song), &record);
  EXPECT_EQ(std::strlen(record.path), 4095U);
  for (const char *field :
       {record.album, record.artist, record.genre, record.title, record.albumArtUrl}) {
    EXPECT_EQ(std::strlen(field), 254U);
  }
}

class FindRecord : public HostTest {
protected:
  void SetUp() override {
    HostTest::SetUp();
    host().records["songs"] = {recording::Song(5, "/five.mp3"), recording::Song(6, "/six.mp3"),
                               recording::Song(6, "/again.mp3")};
    list_ = host().SongList("songs");
  }
  VEXOPlaylistRec *list_ = nullptr;
  __tag_VEXO_MEDIA_INFO found_ = recording::Song(99, "/before.mp3");
};

TEST_F(FindRecord, CopiesTheFirstRecordWithTheId) {
  EXPECT_TRUE(FindRecordById(list_, &found_, 6));
  EXPECT_EQ(Show(&found_), "{id=6, path=\"/six.mp3\"}");
  EXPECT_THAT(host().Messages(), IsEmpty());
}

TEST_F(FindRecord, LeavesTheDestinationAsItIsWithoutOne) {
  EXPECT_TRUE(FindRecordById(list_, &found_, 7));
  EXPECT_TRUE(FindRecordById(list_, &found_, 4294967301));
  EXPECT_EQ(Show(&found_), "{id=99, path=\"/before.mp3\"}");
  EXPECT_THAT(host().Messages(), IsEmpty());
}

TEST_F(FindRecord, RefusesNullsAndTheIdZero) {
  EXPECT_FALSE(FindRecordById(nullptr, &found_, 5));
  EXPECT_FALSE(FindRecordById(list_, nullptr, 5));
  EXPECT_FALSE(FindRecordById(list_, &found_, 0));
  EXPECT_THAT(host().Messages(), ElementsAre("Bad parameters", "Bad parameters", "Bad parameters"));
  EXPECT_EQ(Show(&found_), "{id=99, path=\"/before.mp3\"}");
}

} // namespace
